#include "scenario.h"

#include "instructions.h"
#include "pensim_scenarios.h"
#include "schema.h"
#include "value_json.h"

#include <algorithm>
#include <fmt/format.h>
#include <fstream>
#include <iterator>

namespace pensim {

namespace {

using nlohmann::json;

// An object that the schema has accepted, and its place in the text for errors that the schema cannot tell.
class Object
{
public:
    Object(const json &object, std::string place) : m_object(object), m_place(std::move(place)) {}

    bool has(const char *key) const { return m_object.contains(key); }
    const json &operator[](const char *key) const { return m_object[key]; }
    std::string place(const char *key) const { return m_place + "." + key; }
    Object object(const char *key) const { return {m_object[key], place(key)}; }

    // Each leaves `target` as it is when the key is absent.
    void read(const char *key, bool &target) const { readPlain(key, target); }
    void read(const char *key, std::string &target) const { readPlain(key, target); }
    void read(const char *key, std::vector<std::string> &target) const { readPlain(key, target); }
    void read(const char *key, std::chrono::milliseconds &target) const
    {
        if (has(key))
            target = std::chrono::milliseconds(m_object[key].get<std::int64_t>());
    }
    void read(const char *key, Bytes &target) const
    {
        if (has(key))
            target = bytesOf(m_object[key], place(key));
    }
    template <std::unsigned_integral Number>
    void read(const char *key, Number &target) const
    {
        if (has(key))
            target =
                static_cast<Number>(numberOf(m_object[key], place(key), std::numeric_limits<Number>::max()));
    }
    template <typename Target>
    void read(const char *key, std::optional<Target> &target) const
    {
        if (has(key))
            read(key, target.emplace());
    }

    // Calls `reader` with each item of the list and its place.
    template <typename Reader>
    void forEach(const char *key, Reader reader) const
    {
        if (!has(key))
            return;
        std::size_t index = 0;
        for (const json &item : m_object[key])
            reader(Object{item, fmt::format("{}[{}]", place(key), index++)});
    }

    [[noreturn]] void fail(const std::string &what) const { failAt(m_place, what); }

private:
    template <typename Target>
    void readPlain(const char *key, Target &target) const
    {
        if (has(key))
            target = m_object[key].get<Target>();
    }

    const json &m_object;
    std::string m_place;
};

// "count" makes as many pages with addresses that follow, all with the same strokes.
void readPage(const Object &object, std::vector<PageSpec> &pages)
{
    PageSpec page;
    std::string address;
    object.read("address", address);
    try {
        page.address = parsePageAddress(address);
    } catch (const std::invalid_argument &error) {
        failAt(object.place("address"), fmt::format("is no page address: {}", error.what()));
    }
    std::uint32_t size = 0;
    std::uint64_t seed = page.address;
    object.read("size", size);
    object.read("seed", seed);
    page.strokes = Value::binary(object.has("hex") ? bytesOf(object["hex"], object.place("hex"))
                                                   : generatedStrokes(size, seed));
    object.read("listed_size", page.listedSize);
    std::uint32_t count = 1;
    object.read("count", count);
    for (;;) {
        pages.push_back(page);
        if (--count == 0)
            return;
        const std::optional<std::uint64_t> next = nextPageAddress(page.address);
        if (!next)
            failAt(object.place("count"), "is more than addresses follow " + address);
        page.address = *next;
    }
}

void readPages(const Object &object, const char *key, std::vector<PageSpec> &pages)
{
    object.forEach(key, [&](const Object &page) { readPage(page, pages); });
    if (pages.size() > kMostPages)
        failAt(object.place(key), fmt::format("are more than {} pages", kMostPages));
}

void readChainingValue(const Object &object, DigestBlock &target)
{
    Bytes bytes;
    object.read("chaining_value", bytes);
    std::copy(bytes.begin(), bytes.end(), target.begin());
}

Ending endingOf(const Object &object)
{
    std::string text = "none";
    object.read("ending", text);
    if (text == "none")
        return Ending::none;
    return text == "close" ? Ending::close : Ending::reset;
}

// A status that says no means that the pen did nothing, unless "executed" says otherwise.
Reply replyOf(const Object &object)
{
    Reply reply;
    if (object.has("status")) {
        reply.status = object["status"].get<std::int32_t>();
        reply.executed = *reply.status >= 0;
    }
    if (object.has("value"))
        reply.value = valueOf(object["value"], object.place("value"));
    object.read("bytes", reply.bytes);
    object.read("executed", reply.executed);
    object.read("delay_ms", reply.delay);
    object.read("cut_after", reply.cutAfter);
    reply.ending = endingOf(object);
    if (reply.cutAfter && reply.ending == Ending::none)
        reply.ending = Ending::close;
    return reply;
}

RuleSpec ruleOf(const Object &object)
{
    RuleSpec rule;
    std::string code;
    object.read("instruction", code);
    rule.code = fourCc(code);
    object.read("argument", rule.argument);
    object.read("occurrence", rule.occurrence);
    rule.reply = replyOf(object);
    return rule;
}

// A test may announce a version of 64 bits, a scenario only one that a pen can have.
void readVersion(const Object &object, std::uint64_t &target)
{
    auto version = static_cast<std::uint16_t>(target);
    object.read("software_version", version);
    target = version;
}

DfuSpec dfuOf(const Object &object)
{
    DfuSpec dfu;
    object.read("protocols", dfu.protocols);
    readVersion(object, dfu.softwareVersion);
    object.read("manifestation_tolerant", dfu.manifestationTolerant);
    object.read("detach_timeout", dfu.detachTimeout);
    object.read("transfer_size", dfu.transferSize);
    object.read("block_ms", dfu.blockTime);
    object.read("manifest_ms", dfu.manifestTime);
    object.read("fail_at_block", dfu.failAtBlock);
    std::string imageFile;
    object.read("image_file", imageFile);
    dfu.imageFile = pathOf(imageFile);
    return dfu;
}

void readProperties(const Object &object, std::map<std::uint16_t, Value> &properties)
{
    if (!object.has("properties"))
        return;
    for (const auto &item : object["properties"].items()) {
        const std::string inside = object.place("properties") + "." + item.key();
        const auto id = static_cast<std::uint16_t>(numberOf(item.key(), inside, 0xffff));
        if (!properties.emplace(id, valueOf(item.value(), inside)).second)
            failAt(inside, "stands there twice");
    }
}

void checkMemory(const Object &object, const PenSpec &pen)
{
    std::uint64_t used = 0;
    for (const PageSpec &page : pen.pages)
        used += page.size();
    if (object.has("memory") && used > pen.memory)
        failAt(object.place("memory"), fmt::format("is less than the pages take, {} bytes", used));
}

PenSpec onePenOf(const Object &object, const DigestBlock &chainingValue)
{
    PenSpec pen;
    pen.chainingValue = chainingValue;
    object.read("id", pen.id);
    object.read("brand", pen.brand);
    readVersion(object, pen.softwareVersion);
    object.read("protocols", pen.protocols);
    object.read("vendor_id", pen.vendorId);
    object.read("product_id", pen.productId);
    object.read("port", pen.port);
    object.read("docked", pen.docked);
    object.read("memory", pen.memory);
    pen.dfuMode = object.has("mode") && object["mode"] == "firmware-upgrade";
    object.read("password", pen.password);
    object.read("hint", pen.hint);
    object.read("locked", pen.locked);
    object.read("busy", pen.busy);
    object.read("encrypted_data", pen.encryptedData);
    readChainingValue(object, pen.chainingValue);
    readProperties(object, pen.properties);
    readPages(object, "pages", pen.pages);
    readPages(object, "stylo_pages", pen.styloPages);
    checkMemory(object, pen);
    if (object.has("dfu"))
        pen.dfu = dfuOf(object.object("dfu"));
    object.forEach("faults", [&](const Object &fault) {
        (fault.has("connection") ? pen.connectionRules : pen.rules).push_back(ruleOf(fault));
    });
    return pen;
}

void readPen(const Object &object, const DigestBlock &chainingValue, std::vector<PenSpec> &pens)
{
    PenSpec pen = onePenOf(object, chainingValue);
    std::uint32_t count = 1;
    object.read("count", count);
    if (count > 1 && pen.port != 0)
        failAt(object.place("port"), "must be 0 where there is more than one such pen");
    if (pen.id + (count - 1) < pen.id)
        failAt(object.place("count"), "is more than ids follow");
    for (; count > 0; --count, ++pen.id)
        pens.push_back(pen);
}

void refuseDuplicates(const std::vector<PenSpec> &pens)
{
    std::vector<std::uint64_t> ids(pens.size());
    std::transform(pens.begin(), pens.end(), ids.begin(), [](const PenSpec &pen) { return pen.id; });
    std::sort(ids.begin(), ids.end());
    const auto twice = std::adjacent_find(ids.begin(), ids.end());
    if (twice != ids.end())
        throw std::runtime_error(fmt::format("scenario.pens has the id 0x{:x} twice", *twice));
}

RendezvousSpec rendezvousOf(const Object &object)
{
    RendezvousSpec spec;
    object.read("fragment", spec.fragment);
    object.read("fragment_pause_ms", spec.fragmentPause);
    object.forEach("faults", [&](const Object &fault) {
        (fault.has("list") ? spec.listRules : spec.connectionRules).push_back(ruleOf(fault));
    });
    return spec;
}

using nlohmann::ordered_json;

const PenSpec kPlainPen;

// Writes what is not the default.
template <typename Target>
void write(ordered_json &object, const char *key, const Target &value, const Target &byDefault)
{
    if (value != byDefault)
        object[key] = value;
}

void writeHex(ordered_json &object, const char *key, std::uint16_t value, std::uint16_t byDefault)
{
    if (value != byDefault)
        object[key] = fmt::format("0x{:04x}", value);
}

ordered_json pageJson(const PageSpec &page)
{
    const Bytes &bytes = page.strokes.bytes();
    ordered_json object = {{"address", pageAddressText(page.address)}};
    if (bytes == generatedStrokes(bytes.size(), page.address))
        object["size"] = bytes.size();
    else
        object["hex"] = hexText(bytes);
    if (page.listedSize)
        object["listed_size"] = *page.listedSize;
    return object;
}

ordered_json dfuJson(const DfuSpec &dfu)
{
    const DfuSpec plain;
    ordered_json object = ordered_json::object();
    write(object, "protocols", dfu.protocols, plain.protocols);
    write(object, "software_version", dfu.softwareVersion, plain.softwareVersion);
    write(object, "manifestation_tolerant", dfu.manifestationTolerant, plain.manifestationTolerant);
    write(object, "detach_timeout", dfu.detachTimeout, plain.detachTimeout);
    write(object, "transfer_size", dfu.transferSize, plain.transferSize);
    write(object, "block_ms", dfu.blockTime.count(), plain.blockTime.count());
    write(object, "manifest_ms", dfu.manifestTime.count(), plain.manifestTime.count());
    if (dfu.failAtBlock)
        object["fail_at_block"] = *dfu.failAtBlock;
    write(object, "image_file", utf8Of(dfu.imageFile), std::string());
    return object;
}

void writeList(ordered_json &object, const char *key, ordered_json list)
{
    if (!list.empty())
        object[key] = std::move(list);
}

ordered_json pagesJson(const std::vector<PageSpec> &pages)
{
    ordered_json list = ordered_json::array();
    for (const PageSpec &page : pages)
        list.push_back(pageJson(page));
    return list;
}

ordered_json faultsJson(const std::vector<RuleSpec> &rules, const char *trigger,
                        const std::vector<RuleSpec> &connectionRules)
{
    ordered_json list = ordered_json::array();
    for (const RuleSpec &rule : rules)
        list.push_back(faultJson(rule, trigger));
    for (const RuleSpec &rule : connectionRules)
        list.push_back(faultJson(rule, "connection"));
    return list;
}

ordered_json propertiesJson(const std::map<std::uint16_t, Value> &properties)
{
    ordered_json object = ordered_json::object();
    for (const auto &[id, value] : properties)
        object[fmt::format("0x{:04x}", id)] = valueJson(value);
    return object;
}

void writeSecrets(ordered_json &object, const PenSpec &pen)
{
    write(object, "password", pen.password, kPlainPen.password);
    write(object, "hint", pen.hint, kPlainPen.hint);
    if (pen.locked && *pen.locked != !pen.password.empty())
        object["locked"] = *pen.locked;
    if (pen.encryptedData)
        object["encrypted_data"] = hexText(*pen.encryptedData);
    if (pen.chainingValue != kPlainPen.chainingValue)
        object["chaining_value"] = hexText({pen.chainingValue.begin(), pen.chainingValue.end()});
}

ordered_json penJson(const PenSpec &pen)
{
    ordered_json object = {{"id", fmt::format("0x{:016x}", pen.id)}};
    write(object, "brand", pen.brand, kPlainPen.brand);
    writeHex(object, "software_version", static_cast<std::uint16_t>(pen.softwareVersion),
             static_cast<std::uint16_t>(kPlainPen.softwareVersion));
    write(object, "protocols", pen.protocols, kPlainPen.protocols);
    writeHex(object, "vendor_id", pen.vendorId, kPlainPen.vendorId);
    writeHex(object, "product_id", pen.productId, kPlainPen.productId);
    write(object, "port", pen.port, kPlainPen.port);
    if (pen.dfuMode)
        object["mode"] = "firmware-upgrade";
    write(object, "docked", pen.docked, true);
    write(object, "memory", pen.memory, kPlainPen.memory);
    write(object, "busy", pen.busy, false);
    writeSecrets(object, pen);
    writeList(object, "properties", propertiesJson(pen.properties));
    writeList(object, "pages", pagesJson(pen.pages));
    writeList(object, "stylo_pages", pagesJson(pen.styloPages));
    writeList(object, "dfu", dfuJson(pen.dfu));
    writeList(object, "faults", faultsJson(pen.rules, "instruction", pen.connectionRules));
    return object;
}

} // namespace

std::vector<PenSpec> pensOf(const json &document)
{
    checkAgainstSchema(document, "pen", "pen");
    std::vector<PenSpec> pens;
    readPen({document, "pen"}, kDefaultChainingValue, pens);
    return pens;
}

std::vector<PageSpec> pagesOf(const json &document)
{
    checkAgainstSchema(document, "page", "page");
    std::vector<PageSpec> pages;
    readPage({document, "page"}, pages);
    return pages;
}

Fault faultOf(const json &document)
{
    checkAgainstSchema(document, "fault", "fault");
    const Object object(document, "fault");
    return {object.has("connection"), ruleOf(object)};
}

Scenario parseScenario(std::string_view text)
{
    const json document = parsedJson(text);
    checkAgainstSchema(document, "scenario", "scenario");
    const Object object(document, "scenario");
    DigestBlock chainingValue = kDefaultChainingValue;
    readChainingValue(object, chainingValue);
    Scenario scenario;
    object.forEach("pens", [&](const Object &pen) { readPen(pen, chainingValue, scenario.pens); });
    refuseDuplicates(scenario.pens);
    if (object.has("rendezvous"))
        scenario.rendezvous = rendezvousOf(object.object("rendezvous"));
    return scenario;
}

Scenario loadScenario(const std::filesystem::path &file)
{
    std::ifstream stream(file, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (!stream.is_open() || stream.bad())
        throw std::runtime_error("cannot read " + utf8Of(file));
    return parseScenario(text);
}

Scenario defaultScenario()
{
    return parseScenario(kDefaultScenario);
}

ordered_json faultJson(const RuleSpec &rule, const std::string &trigger)
{
    const Reply &reply = rule.reply;
    ordered_json object = {{trigger, true}};
    if (trigger == "instruction")
        object[trigger] = rule.code == kAnyInstruction ? "*" : codeText(rule.code);
    if (rule.argument)
        object["argument"] = *rule.argument;
    write(object, "occurrence", rule.occurrence, std::size_t{0});
    if (reply.status)
        object["status"] = *reply.status;
    if (reply.value)
        object["value"] = valueJson(*reply.value);
    write(object, "executed", reply.executed, !reply.status || *reply.status >= 0);
    if (reply.bytes)
        object["bytes"] = hexText(*reply.bytes);
    if (reply.cutAfter)
        object["cut_after"] = *reply.cutAfter;
    if (reply.ending != Ending::none)
        object["ending"] = reply.ending == Ending::close ? "close" : "reset";
    write(object, "delay_ms", reply.delay.count(), std::chrono::milliseconds::rep{0});
    return object;
}

ordered_json scenarioJson(const Scenario &scenario)
{
    ordered_json pens = ordered_json::array();
    for (const PenSpec &pen : scenario.pens)
        pens.push_back(penJson(pen));
    ordered_json rendezvous = ordered_json::object();
    write(rendezvous, "fragment", scenario.rendezvous.fragment, std::size_t{0});
    write(rendezvous, "fragment_pause_ms", scenario.rendezvous.fragmentPause.count(),
          std::chrono::milliseconds::rep{0});
    writeList(rendezvous, "faults",
              faultsJson(scenario.rendezvous.listRules, "list", scenario.rendezvous.connectionRules));
    ordered_json document = {{"pens", std::move(pens)}};
    writeList(document, "rendezvous", std::move(rendezvous));
    return document;
}

} // namespace pensim
