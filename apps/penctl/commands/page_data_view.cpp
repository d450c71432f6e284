#include "commands/page_data_view.h"

#include <algorithm>

#include <fmt/format.h>

#include "failure.h"
#include "ui/table.h"
#include "ui/text.h"

namespace penctl {

namespace {

using zelpp::ValueType;

constexpr std::size_t kElementsShown = 16;
constexpr std::size_t kBytesShown = 16;

std::string hexBytes(zelpp::Bytes bytes, const char *gap)
{
    std::string text;
    for (const uint8_t byte : bytes.subrun(0, kBytesShown))
        text += fmt::format("{}{:02x}", text.empty() ? "" : gap, byte);
    return text;
}

/** The bits of a number, as unsigned. */
uint64_t payload(const zelpp::Value &value)
{
    uint64_t number = 0;
    for (const uint8_t byte : value.body())
        number = number << 8 | byte;
    return number;
}

std::string numberText(const zelpp::Value &value, NumberStyle style)
{
    switch (style) {
    case NumberStyle::Hexadecimal:
        return fmt::format("0x{:0{}x}", payload(value), 2 * value.body().size());
    case NumberStyle::Time:
        return utcText(payload(value));
    case NumberStyle::Decimal:
        break;
    }
    return std::to_string(*value.number());
}

std::string binaryText(zelpp::Bytes bytes)
{
    const std::string size = counted(bytes.size(), "byte", "bytes");
    if (bytes.empty())
        return size;
    return fmt::format("{}: {}{}", size, hexBytes(bytes, " "), bytes.size() > kBytesShown ? " ..." : "");
}

bool isBinary(const zelpp::Value &value)
{
    return value.type() == ValueType::binary || value.type() == ValueType::escapedBinary;
}

} // namespace

void ValueView::count()
{
    if (++m_values > kMostValues)
        throw Failure(kDamagedFile, fmt::format("the file holds more than {} values", grouped(kMostValues)));
}

std::string ValueView::text(const zelpp::Value &value, NumberStyle style)
{
    count();
    if (value.type() == ValueType::boolean)
        return *value.number() != 0 ? "true" : "false";
    if (value.number())
        return numberText(value, style);
    if (value.text())
        return "\"" + printable(*value.text()) + "\"";
    if (isBinary(value))
        return value.binary() ? binaryText(*value.binary()) : binaryText(value.unescaped());
    return value.isArray() ? arrayText(value) : typeName(value.type());
}

std::string ValueView::arrayText(const zelpp::Value &array)
{
    std::string shown;
    std::size_t elements = 0;
    for (const zelpp::Value &element : array) {
        if (elements < kElementsShown)
            shown += (elements == 0 ? "" : ", ") + text(element, NumberStyle::Decimal);
        else
            count();
        ++elements;
    }
    if (elements > kElementsShown)
        shown += fmt::format(", ... ({} elements)", grouped(elements));
    return "[" + shown + "]";
}

Json ValueView::json(const zelpp::Value &value)
{
    count();
    Json json = {{"type", typeName(value.type())}};
    if (value.type() == ValueType::boolean) {
        json["value"] = *value.number() != 0;
    } else if (value.number()) {
        json["value"] = *value.number();
    } else if (value.text()) {
        json["value"] = *value.text();
    } else if (isBinary(value)) {
        const std::vector<uint8_t> escaped = value.binary() ? std::vector<uint8_t>() : value.unescaped();
        const zelpp::Bytes bytes = value.binary().value_or(escaped);
        json.update({{"size", bytes.size()}, {"start", hexBytes(bytes, "")}});
    } else if (value.isArray()) {
        json["value"] = Json::array();
        for (const zelpp::Value &element : value)
            json["value"].push_back(this->json(element));
    } else {
        json["value"] = nullptr;
    }
    return json;
}

namespace {

NumberStyle styleOf(uint16_t property)
{
    switch (property) {
    case 0x0000: // PEN_ID
    case 0x0001: // PEN_SOFTWARE_VERSION
        return NumberStyle::Hexadecimal;
    case 0x0021: // SYSTEM_TIME
    case 0x2021: // PEN_TIME
        return NumberStyle::Time;
    default:
        return NumberStyle::Decimal;
    }
}

uint64_t strokeBytes(const zelpp::PageData &data)
{
    uint64_t bytes = 0;
    for (const zelpp::Page &page : data)
        bytes += page.strokes().size();
    return bytes;
}

Json entriesJson(ValueView &view, const zelpp::Page &page)
{
    Json entries = Json::array();
    for (const zelpp::Entry &entry : page.entries()) {
        Json json = {{"pidget", entry.key}};
        json.update(view.json(entry.value));
        entries.push_back(json);
    }
    return entries;
}

Json pagesJson(ValueView &view, const zelpp::PageData &data)
{
    Json pages = Json::array();
    for (const zelpp::Page &page : data)
        pages.push_back({{"address", page.address()},
                         {"bytes", page.strokes().size()},
                         {"flag", page.isStylo() ? 1 : 0},
                         {"entries", entriesJson(view, page)}});
    return pages;
}

Json propertiesJson(ValueView &view, const zelpp::PageData &data)
{
    Json properties = Json::array();
    for (const zelpp::Entry &property : data.properties()) {
        const char *name = zelpp::propertyName(property.key);
        const std::string id = fmt::format("0x{:04x}", property.key);
        Json json = {{"id", id}, {"name", name ? name : id}};
        json.update(view.json(property.value));
        properties.push_back(json);
    }
    return properties;
}

std::string pagesText(const zelpp::PageData &data, bool boldTitles)
{
    if (data.empty())
        return {};
    Table table({{"PAGE"}, {"STROKE BYTES", Align::Right}});
    for (const zelpp::Page &page : data)
        table.addRow({page.address(), grouped(page.strokes().size())});
    return "\n" + table.text(boldTitles);
}

std::string entriesText(ValueView &view, const zelpp::PageData &data, bool boldTitles)
{
    Table table({{"PAGE"}, {"PIDGET", Align::Right}, {"TYPE"}, {"VALUE"}});
    bool any = false;
    for (const zelpp::Page &page : data) {
        for (const zelpp::Entry &entry : page.entries()) {
            any = true;
            table.addRow({page.address(), std::to_string(entry.key), typeName(entry.value.type()),
                          view.text(entry.value, NumberStyle::Decimal)});
        }
    }
    return any ? "\n" + table.text(boldTitles) : std::string();
}

std::string propertiesText(ValueView &view, const zelpp::PageData &data, bool boldTitles)
{
    if (data.properties().empty())
        return {};
    Table table({{"PROPERTY"}, {"NAME"}, {"TYPE"}, {"VALUE"}});
    for (const zelpp::Entry &property : data.properties()) {
        const char *name = zelpp::propertyName(property.key);
        table.addRow({fmt::format("0x{:04x}", property.key), name ? name : "",
                      typeName(property.value.type()), view.text(property.value, styleOf(property.key))});
    }
    return "\n" + table.text(boldTitles);
}

} // namespace

std::string pageDataText(const zelpp::PageData &data, bool boldTitles)
{
    ValueView view;
    return fmt::format("page data of version 1.0 for {}:{}: {} with {} of strokes, {}\n",
                       data.requestAddress(), data.requestPidget(), counted(data.size(), "page", "pages"),
                       counted(strokeBytes(data), "byte", "bytes"),
                       counted(data.properties().size(), "property", "properties")) +
           pagesText(data, boldTitles) + entriesText(view, data, boldTitles) +
           propertiesText(view, data, boldTitles);
}

Json pageDataJson(const zelpp::PageData &data)
{
    ValueView view;
    return {{"version", "1.0"},
            {"address", data.requestAddress()},
            {"pidget", data.requestPidget()},
            {"strokeBytes", strokeBytes(data)},
            {"pages", pagesJson(view, data)},
            {"properties", propertiesJson(view, data)}};
}

} // namespace penctl
