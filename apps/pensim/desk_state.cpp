#include "desk_state.h"

#include "scenario.h"
#include "state_json.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace pensim {

namespace {

using nlohmann::ordered_json;

// In percent; null when the property holds something else.
ordered_json batteryJson(const Value &value)
{
    const Value &level = value.isArray() && !value.items().empty() ? value.items().front() : value;
    return level.isNumber() ? ordered_json(level.number()) : ordered_json(nullptr);
}

} // namespace

ordered_json penCardJson(const Pen &pen)
{
    const PenStatus status = pen.status();
    std::size_t exchanges = 0;
    for (const auto &[code, count] : status.exchanges)
        exchanges += count;
    return {{"id", fmt::format("0x{:016x}", pen.id())},
            {"serial", serialText(pen.id())},
            {"brand", pen.spec().brand},
            {"software_version", fmt::format("0x{:04x}", status.announced.softwareVersion)},
            {"protocols", status.announced.protocols},
            {"docked", pen.docked()},
            {"port", pen.port()},
            {"mode", pen.dfuMode() ? "firmware-upgrade" : "ordinary"},
            {"connections", status.connections},
            {"session", status.session ? ordered_json(*status.session) : ordered_json(nullptr)},
            {"session_pages", status.sessionPages},
            {"locked", pen.locked()},
            {"has_password", !pen.password().empty()},
            {"hint", pen.hint()},
            {"busy", status.busy},
            {"battery", batteryJson(pen.property(property::battery))},
            {"memory", status.memory},
            {"free_memory", status.freeMemory},
            {"pages", status.pages},
            {"stylo_pages", status.styloPages},
            {"exchanges", exchanges},
            {"faults", faultList(status.connectionRules, "connection",
                                 faultList(status.rules, "instruction", ordered_json::array()))},
            {"firmware",
             {{"state", dfuStateName(status.dfuState)},
              {"image_size", status.imageSize},
              {"installed", status.imageInstalled}}}};
}

ordered_json rendezvousCardJson(const Rendezvous &rendezvous)
{
    return {{"port", rendezvous.port()},
            {"listening", rendezvous.isListening()},
            {"connections", rendezvous.openConnectionCount()},
            {"subscribers", rendezvous.subscriberCount(Subscription::ordinary)},
            {"firmware_subscribers", rendezvous.subscriberCount(Subscription::dfu)}};
}

} // namespace pensim
