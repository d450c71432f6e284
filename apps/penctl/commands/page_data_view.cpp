#include "commands/page_data_view.h"

#include <fmt/format.h>

#include "commands/file_value_text.h"
#include "pagedata/page_address_text.h"
#include "ui/table.h"
#include "ui/units.h"

namespace penctl {

namespace {

uint64_t strokeBytes(const PageTransaction &file)
{
    uint64_t bytes = 0;
    for (const PageDataPage &page : file.pages)
        bytes += page.strokeBytes;
    return bytes;
}

Json entriesJson(const PageDataPage &page)
{
    Json entries = Json::array();
    for (const PageDataEntry &entry : page.entries) {
        Json json = {{"pidget", entry.key}};
        json.update(valueJson(entry.value));
        entries.push_back(json);
    }
    return entries;
}

Json pagesJson(const PageTransaction &file)
{
    Json pages = Json::array();
    for (const PageDataPage &page : file.pages)
        pages.push_back({{"address", pageAddressText(page.address)},
                         {"bytes", page.strokeBytes},
                         {"flag", page.flag},
                         {"entries", entriesJson(page)}});
    return pages;
}

Json propertiesJson(const PageTransaction &file)
{
    Json properties = Json::array();
    for (const PageDataEntry &property : file.properties) {
        Json json = {{"id", fmt::format("0x{:04x}", property.key)}, {"name", propertyName(property.key)}};
        json.update(valueJson(property.value));
        properties.push_back(json);
    }
    return properties;
}

std::string pagesText(const PageTransaction &file, bool bold)
{
    if (file.pages.empty())
        return {};
    Table table({{"PAGE"}, {"STROKE BYTES", Align::Right}});
    for (const PageDataPage &page : file.pages)
        table.addRow({pageAddressText(page.address), grouped(page.strokeBytes)});
    return "\n" + table.text(bold);
}

std::string entriesText(const PageTransaction &file, bool bold)
{
    Table table({{"PAGE"}, {"PIDGET", Align::Right}, {"TYPE"}, {"VALUE"}});
    bool any = false;
    for (const PageDataPage &page : file.pages) {
        for (const PageDataEntry &entry : page.entries) {
            any = true;
            table.addRow({pageAddressText(page.address), std::to_string(entry.key),
                          typeName(entry.value.type), valueText(entry.value, NumberStyle::Decimal)});
        }
    }
    return any ? "\n" + table.text(bold) : std::string();
}

std::string propertiesText(const PageTransaction &file, bool bold)
{
    if (file.properties.empty())
        return {};
    Table table({{"PROPERTY"}, {"NAME"}, {"TYPE"}, {"VALUE"}});
    for (const PageDataEntry &property : file.properties) {
        const PropertyInfo *known = findProperty(property.key);
        table.addRow({fmt::format("0x{:04x}", property.key), known ? known->name : "",
                      typeName(property.value.type),
                      valueText(property.value, known ? known->style : NumberStyle::Decimal)});
    }
    return "\n" + table.text(bold);
}

} // namespace

Json pageDataJson(const PageTransaction &file)
{
    return {{"version", fmt::format("{}.{}", file.majorVersion, file.minorVersion)},
            {"address", pageAddressText(file.address)},
            {"pidget", file.pidget},
            {"strokeBytes", strokeBytes(file)},
            {"pages", pagesJson(file)},
            {"properties", propertiesJson(file)}};
}

std::string pageDataText(const PageTransaction &file, bool boldTitles)
{
    return fmt::format("page data of version {}.{} for {}:{}: {} with {} of strokes, {}\n", file.majorVersion,
                       file.minorVersion, pageAddressText(file.address), file.pidget,
                       counted(file.pages.size(), "page", "pages"),
                       counted(strokeBytes(file), "byte", "bytes"),
                       counted(file.properties.size(), "property", "properties")) +
           pagesText(file, boldTitles) + entriesText(file, boldTitles) + propertiesText(file, boldTitles);
}

} // namespace penctl
