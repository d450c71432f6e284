#include "state_json.h"

#include "instructions.h"
#include "value_json.h"

#include <fmt/format.h>

namespace pensim {

namespace {

using nlohmann::ordered_json;

constexpr const char *kDfuStateNames[] = {"appIDLE",          "appDETACH",   "dfuIDLE",
                                          "dfuDNLOAD-SYNC",   "dfuDNBUSY",   "dfuDNLOAD-IDLE",
                                          "dfuMANIFEST-SYNC", "dfuMANIFEST", "dfuMANIFEST-WAIT-RESET",
                                          "dfuUPLOAD-IDLE",   "dfuERROR"};

// Of a long binary the state shows the beginning; pages are fetched, not looked at.
constexpr std::size_t kLongestShown = 256;

ordered_json pageList(const std::vector<PageSpec> &pages)
{
    ordered_json list = ordered_json::array();
    for (const PageSpec &page : pages)
        list.push_back({{"address", pageAddressText(page.address)}, {"size", page.size()}});
    return list;
}

ordered_json propertyList(const Pen &pen)
{
    ordered_json object = ordered_json::object();
    for (const auto &[id, value] : pen.properties())
        object[fmt::format("0x{:04x}", id)] = shortValueJson(value, kLongestShown);
    return object;
}

ordered_json exchangeCounts(const PenStatus &status)
{
    ordered_json object = ordered_json::object();
    for (const auto &[code, count] : status.exchanges)
        object[codeText(code)] = count;
    return object;
}

ordered_json identity(const Pen &pen, const PenStatus &status)
{
    const bool dfu = pen.dfuMode();
    return {{"serial", serialText(pen.id())},
            {"id", fmt::format("0x{:016x}", pen.id())},
            {"brand", pen.spec().brand},
            {"software_version", fmt::format("0x{:04x}", status.announced.softwareVersion)},
            {"protocols", status.announced.protocols},
            {"vendor_id", fmt::format("0x{:04x}", pen.spec().vendorId)},
            {"product_id", fmt::format("0x{:04x}", pen.spec().productId)},
            {"mode", dfu ? "firmware-upgrade" : "ordinary"},
            {"docked", pen.docked()},
            {"port", pen.port()}};
}

} // namespace

const char *dfuStateName(DfuState state)
{
    return kDfuStateNames[static_cast<std::size_t>(state)];
}

ordered_json faultList(const std::vector<RuleSpec> &rules, const char *trigger, ordered_json list)
{
    for (const RuleSpec &rule : rules)
        list.push_back(faultJson(rule, trigger));
    return list;
}

ordered_json penStateJson(const Pen &pen)
{
    const PenStatus status = pen.status();
    const PenSpec present = pen.present();
    ordered_json object = identity(pen, status);
    object["connections"] = status.connections;
    object["session"] = status.session ? ordered_json(*status.session) : ordered_json(nullptr);
    object["locked"] = pen.locked();
    object["has_password"] = !pen.password().empty();
    object["hint"] = pen.hint();
    object["busy"] = status.busy;
    object["mmi_state"] = status.mmiState;
    object["memory"] = status.memory;
    object["free_memory"] = status.freeMemory;
    object["pages"] = pageList(present.pages);
    object["stylo_pages"] = pageList(present.styloPages);
    object["encrypted_data"] = present.encryptedData.has_value();
    object["properties"] = propertyList(pen);
    object["faults"] = faultList(present.connectionRules, "connection",
                                 faultList(present.rules, "instruction", ordered_json::array()));
    object["exchanges"] = exchangeCounts(status);
    object["firmware_upgrade"] = {{"state", dfuStateName(status.dfuState)},
                                  {"image_size", status.imageSize},
                                  {"installed", status.imageInstalled}};
    return object;
}

ordered_json stateJson(Service &service)
{
    const Rendezvous &rendezvous = service.rendezvous();
    const RendezvousSpec spec = rendezvous.spec();
    ordered_json pens = ordered_json::array();
    for (const Pen *pen : service.pens())
        pens.push_back(penStateJson(*pen));
    return {{"rendezvous",
             {{"port", rendezvous.port()},
              {"listening", rendezvous.isListening()},
              {"connections", rendezvous.openConnectionCount()},
              {"subscribers",
               {{"ordinary", rendezvous.subscriberCount(Subscription::ordinary)},
                {"firmware-upgrade", rendezvous.subscriberCount(Subscription::dfu)}}},
              {"faults", faultList(spec.connectionRules, "connection",
                                   faultList(spec.listRules, "list", ordered_json::array()))}}},
            {"pens", std::move(pens)}};
}

std::string readyReport(Service &service, std::uint16_t controlPort, const std::string &desk)
{
    ordered_json report;
    report["rendezvous_port"] = service.rendezvousPort();
    if (controlPort != 0)
        report["control_port"] = controlPort;
    if (!desk.empty())
        report["desk"] = desk;
    report["pens"] = ordered_json::array();
    for (const Pen *pen : service.pens())
        report["pens"].push_back({{"serial", serialText(pen->id())},
                                  {"id", fmt::format("0x{:016x}", pen->id())},
                                  {"port", pen->port()}});
    return report.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

} // namespace pensim
