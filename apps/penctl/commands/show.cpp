#include "commands/commands.h"

#include <filesystem>
#include <fstream>

#include <fmt/format.h>

#include "commands/file_value_text.h"
#include "commands/options.h"
#include "exit_code.h"
#include "failure.h"
#include "files/atomic_file.h"
#include "pagedata/format_error.h"
#include "pagedata/page_address_text.h"
#include "pagedata/page_transaction.h"
#include "ui/json.h"
#include "ui/output.h"
#include "ui/printable.h"
#include "ui/style.h"
#include "ui/table.h"
#include "ui/units.h"

namespace penctl {

namespace {

struct ShowOptions {
    std::string file;
    bool json = false;
};

PageTransaction readFile(const std::string &name)
{
    const std::filesystem::path path = pathFromUtf8(name);
    std::error_code error;
    const uint64_t size = std::filesystem::file_size(path, error);
    std::ifstream in(path, std::ios::binary);
    if (error || !in)
        throw Failure(kNoInput, fmt::format("cannot read {}{}{}", printable(name), error ? ": " : "",
                                            error ? error.message() : ""));
    try {
        return readPageTransaction(in, size);
    } catch (const FormatError &damage) {
        throw Failure(kDamagedFile,
                      fmt::format("{} holds no valid page data: {}", printable(name), damage.what()));
    }
}

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

void printFileJson(const PageTransaction &file)
{
    printJson({{"version", fmt::format("{}.{}", file.majorVersion, file.minorVersion)},
               {"address", pageAddressText(file.address)},
               {"pidget", file.pidget},
               {"strokeBytes", strokeBytes(file)},
               {"pages", pagesJson(file)},
               {"properties", propertiesJson(file)}});
}

void printPages(const PageTransaction &file, bool bold)
{
    if (file.pages.empty())
        return;
    Table table({{"PAGE"}, {"STROKE BYTES", Align::Right}});
    for (const PageDataPage &page : file.pages)
        table.addRow({pageAddressText(page.address), grouped(page.strokeBytes)});
    print("\n" + table.text(bold));
}

void printEntries(const PageTransaction &file, bool bold)
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
    if (any)
        print("\n" + table.text(bold));
}

void printProperties(const PageTransaction &file, bool bold)
{
    if (file.properties.empty())
        return;
    Table table({{"PROPERTY"}, {"NAME"}, {"TYPE"}, {"VALUE"}});
    for (const PageDataEntry &property : file.properties) {
        const PropertyInfo *known = findProperty(property.key);
        table.addRow({fmt::format("0x{:04x}", property.key), known ? known->name : "",
                      typeName(property.value.type),
                      valueText(property.value, known ? known->style : NumberStyle::Decimal)});
    }
    print("\n" + table.text(bold));
}

void printFile(const PageTransaction &file)
{
    const bool bold = coloursOn(Stream::Output);
    print(fmt::format("page data of version {}.{} for {}:{}: {} with {} of strokes, {}\n", file.majorVersion,
                      file.minorVersion, pageAddressText(file.address), file.pidget,
                      counted(file.pages.size(), "page", "pages"),
                      counted(strokeBytes(file), "byte", "bytes"),
                      counted(file.properties.size(), "property", "properties")));
    printPages(file, bold);
    printEntries(file, bold);
    printProperties(file, bold);
}

void show(const ShowOptions &options)
{
    const PageTransaction file = readFile(options.file);
    if (options.json)
        printFileJson(file);
    else
        printFile(file);
}

} // namespace

void addShow(CLI::App &program)
{
    CLI::App *command = program.add_subcommand("show", "Show what a file written by `fetch` holds");
    auto options = std::make_shared<ShowOptions>();
    command->add_option("FILE", options->file, "The file")->type_name("")->required();
    addJson(*command, options->json);
    command->callback([options] { show(*options); });
}

} // namespace penctl
