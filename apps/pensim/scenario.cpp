#include "scenario.h"

#include "json_reader.h"
#include "json_rules.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace pensim {

namespace {

using nlohmann::json;

bool hasMissingField(std::uint64_t address)
{
    return pageAddressText(address).find('*') != std::string::npos;
}

std::uint64_t nextAddress(std::uint64_t address)
{
    do {
        ++address;
    } while (hasMissingField(address));
    return address;
}

std::uint64_t addressOf(JsonReader &reader)
{
    std::string text;
    reader.read("address", text);
    try {
        return parsePageAddress(text);
    } catch (const std::invalid_argument &error) {
        JsonReader::fail(reader.place("address"), error.what());
    }
}

// Strokes are given ("hex") or generated from a size and a seed.
Value strokesOf(JsonReader &reader, std::uint64_t seed)
{
    if (reader.has("hex"))
        return Value::binary(JsonReader::hexBytes(reader.at("hex"), reader.place("hex")));
    std::uint32_t size = 0;
    reader.read("size", size);
    reader.read("seed", seed);
    return Value::binary(generatedStrokes(size, seed));
}

// "count" makes as many pages with addresses that follow, all with the same strokes.
void readPage(const json &value, const std::string &place, std::vector<PageSpec> &pages)
{
    JsonReader reader(value, place);
    PageSpec page;
    page.address = addressOf(reader);
    page.strokes = strokesOf(reader, page.address);
    if (reader.has("listed_size")) {
        std::uint32_t size = 0;
        reader.read("listed_size", size);
        page.listedSize = size;
    }
    std::uint32_t count = 1;
    reader.read("count", count);
    reader.finish();
    for (; count > 0; --count) {
        pages.push_back(page);
        page.address = nextAddress(page.address);
    }
}

DigestBlock chainingValueOf(JsonReader &reader)
{
    const Bytes bytes = JsonReader::hexBytes(reader.at("chaining_value"), reader.place("chaining_value"));
    DigestBlock block;
    if (bytes.size() != block.size())
        JsonReader::fail(reader.place("chaining_value"), "must have 64 hexadecimal digits");
    std::copy(bytes.begin(), bytes.end(), block.begin());
    return block;
}

DfuSpec dfuOf(JsonReader reader)
{
    DfuSpec dfu;
    reader.read("protocols", dfu.protocols);
    reader.read("software_version", dfu.softwareVersion);
    reader.read("manifestation_tolerant", dfu.manifestationTolerant);
    reader.read("detach_timeout", dfu.detachTimeout);
    reader.read("transfer_size", dfu.transferSize);
    reader.read("block_ms", dfu.blockTime);
    reader.read("manifest_ms", dfu.manifestTime);
    if (reader.has("fail_at_block")) {
        std::size_t block = 0;
        reader.read("fail_at_block", block);
        dfu.failAtBlock = block;
    }
    std::string imageFile;
    reader.read("image_file", imageFile);
    dfu.imageFile = imageFile;
    reader.finish();
    return dfu;
}

bool isDfuMode(JsonReader &reader)
{
    std::string mode = "ordinary";
    reader.read("mode", mode);
    if (mode != "ordinary" && mode != "firmware-upgrade")
        JsonReader::fail(reader.place("mode"), "must be \"ordinary\" or \"firmware-upgrade\"");
    return mode == "firmware-upgrade";
}

std::map<std::uint16_t, Value> propertiesOf(const json &object, const std::string &place)
{
    std::map<std::uint16_t, Value> properties;
    const JsonReader reader(object, place);
    for (const auto &item : object.items()) {
        const std::uint64_t id = JsonReader::number(json(item.key()), place, 0xffff);
        properties[static_cast<std::uint16_t>(id)] = parseValue(item.value(), reader.place(item.key()));
    }
    return properties;
}

void readSecrets(JsonReader &reader, PenSpec &pen)
{
    reader.read("password", pen.password);
    reader.read("hint", pen.hint);
    if (reader.has("locked")) {
        bool locked = false;
        reader.read("locked", locked);
        pen.locked = locked;
    }
    if (reader.has("encrypted_data"))
        pen.encryptedData = JsonReader::hexBytes(reader.at("encrypted_data"), reader.place("encrypted_data"));
    if (reader.has("chaining_value"))
        pen.chainingValue = chainingValueOf(reader);
}

PenSpec penOf(JsonReader reader, const DigestBlock &chainingValue)
{
    PenSpec pen;
    pen.chainingValue = chainingValue;
    pen.id = JsonReader::number(reader.at("id"), reader.place("id"), ~std::uint64_t{0});
    reader.read("brand", pen.brand);
    reader.read("software_version", pen.softwareVersion);
    reader.read("protocols", pen.protocols);
    reader.read("vendor_id", pen.vendorId);
    reader.read("product_id", pen.productId);
    reader.read("port", pen.port);
    reader.read("docked", pen.docked);
    pen.dfuMode = isDfuMode(reader);
    readSecrets(reader, pen);
    if (reader.has("properties"))
        pen.properties = propertiesOf(reader.at("properties"), reader.place("properties"));
    reader.readList("pages", pen.pages, readPage);
    reader.readList("stylo_pages", pen.styloPages, readPage);
    if (reader.has("dfu"))
        pen.dfu = dfuOf(reader.object("dfu"));
    readRules(reader, "instruction", "connection", pen.rules);
    readRules(reader, "connection", "instruction", pen.connectionRules);
    reader.finish();
    return pen;
}

RendezvousSpec rendezvousOf(JsonReader reader)
{
    RendezvousSpec spec;
    reader.read("fragment", spec.fragment);
    reader.read("fragment_pause_ms", spec.fragmentPause);
    readRules(reader, "list", "connection", spec.listRules);
    readRules(reader, "connection", "list", spec.connectionRules);
    reader.finish();
    return spec;
}

json parsed(std::string_view text)
{
    try {
        return json::parse(text);
    } catch (const json::parse_error &error) {
        throw std::runtime_error(error.what());
    }
}

} // namespace

PenSpec parsePen(std::string_view text)
{
    const json document = parsed(text);
    return penOf({document, "pen"}, kDefaultChainingValue);
}

Scenario parseScenario(std::string_view text)
{
    const json document = parsed(text);
    JsonReader reader(document, "scenario");
    const DigestBlock chainingValue =
        reader.has("chaining_value") ? chainingValueOf(reader) : kDefaultChainingValue;
    Scenario scenario;
    reader.readList("pens", scenario.pens, [&](const json &value, const std::string &place, auto &pens) {
        pens.push_back(penOf({value, place}, chainingValue));
    });
    if (reader.has("rendezvous"))
        scenario.rendezvous = rendezvousOf(reader.object("rendezvous"));
    reader.finish();
    return scenario;
}

Scenario loadScenario(const std::filesystem::path &file)
{
    std::ifstream stream(file, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (!stream.is_open() || stream.bad())
        throw std::runtime_error("cannot read " + file.string());
    return parseScenario(text);
}

} // namespace pensim
