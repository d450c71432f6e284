#include "commands/command.h"

#include <algorithm>
#include <cctype>

#include <zel/page_data.hpp>

#include "doctor/announcements.h"
#include "doctor/missing_pen.h"
#include "doctor/pen_service.h"
#include "files/files.h"

/** Writes a pen as a scenario of pensim. The library does not hand out all that a scenario takes (protocols,
 * values as they are, the size of each page), so the pen is asked directly. */
namespace penctl {

namespace {

constexpr Limit kListLimit{2000};
constexpr Limit kSilence{10000}; // a pen may need seconds for a page
constexpr int32_t kLocked = -9003;
constexpr uint64_t kStrokeFormat = 2;
constexpr uint64_t kAllStrokes = INT64_MAX;
constexpr uint16_t kMemory = 0x001a;
constexpr std::size_t kMemorySize = 7; // its place among the numbers of that property

// Left out: what is secret (the Bluetooth PIN), what is the owner's (card, e-mail, telephone), and what
// pensim counts itself (clocks, free memory).
constexpr uint16_t kProperties[] = {0x0001, 0x000e, 0x0010, kMemory, 0x0022, 0x0023, 0x0024, 0x002a, 0x2009,
                                    0x201a, 0x202a, 0x202e, 0x2204,  0x2207, 0x2208, 0x2209, 0x220a};

struct ExportOptions {
    std::string serial;
    std::string output;
    bool strokes = false;
};

std::string upper(std::string text)
{
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

Announcement choosePen(const std::string &serial)
{
    const PenListing listing = listPens(PenMode::Ordinary, kListLimit);
    std::vector<Announcement> found;
    std::string names;
    for (const Announcement &pen : listing.announcements) {
        names += "\n  " + pen.name();
        if (serial.empty() || upper(serial) == pen.name())
            found.push_back(pen);
    }
    if (found.size() > 1)
        throw Failure(kUsageError, "several pens are present; name one of them:" + names);
    if (found.empty())
        throw Failure(kNoPen,
                      fmt::format("{}\n{}",
                                  serial.empty() ? "no pen is present"
                                                 : fmt::format("pen {} is not present", printable(serial)),
                                  lookForPen(serial).advice));
    return found.front();
}

/** A request that must succeed. */
Json require(PenService &pen, std::string_view what, std::string_view instruction,
             const std::vector<std::string> &arguments = {})
{
    const PenAnswer answer = pen.ask(instruction, arguments);
    if (answer.status < 0)
        throw Failure(answer.status == kLocked ? ZEL_ERR_PEN_LOCKED : ZEL_ERR_UNEXPECTED,
                      fmt::format("cannot {}: the pen answers with status {}", what, answer.status));
    return answer.value;
}

/** The values of an array; none in any other value. */
Json itemsOf(const Json &value)
{
    return value.value("array", Json::array());
}

std::string hexOf(const Json &strokes)
{
    return strokes.value("binary", strokes.value("escaped_binary", std::string()));
}

/** A page as a scenario has it: with its strokes, or with as many generated ones.
 *  hex  its strokes, two digits a byte */
Json pageOf(const Json &address, const std::string &hex, uint64_t size, bool strokes)
{
    Json page = {{"address", zelpp::addressText(numberIn(address))}};
    if (!strokes) {
        page["size"] = size;
        return page;
    }
    page["hex"] = hex;
    if (size != hex.size() / 2)
        page["listed_size"] = size;
    return page;
}

Json pagesOf(PenService &pen, bool strokes)
{
    Json pages = Json::array();
    for (const Json &item : itemsOf(require(pen, "list the pages", "U0PI"))) {
        const Json fields = itemsOf(item);
        if (fields.size() < 2)
            throw Failure(ZEL_ERR_UNEXPECTED, "cannot list the pages: the pen's list is none");
        const std::string hex = strokes
                                    ? hexOf(require(pen, "fetch a page", "U0PG",
                                                    {encodedLong(numberIn(fields[0])),
                                                     encodedLong(kStrokeFormat), encodedLong(kAllStrokes)}))
                                    : "";
        pages.push_back(pageOf(fields[0], hex, numberIn(fields[1]), strokes));
    }
    return pages;
}

Json styloPagesOf(PenService &pen, bool strokes)
{
    Json pages = Json::array();
    for (const Json &item : itemsOf(require(pen, "fetch the stylo pages", "U0PY"))) {
        const Json fields = itemsOf(item);
        if (fields.size() < 2)
            throw Failure(ZEL_ERR_UNEXPECTED, "cannot fetch the stylo pages: the pen's list is none");
        const std::string hex = hexOf(fields[1]);
        pages.push_back(pageOf(fields[0], hex, hex.size() / 2, strokes));
    }
    return pages;
}

Json propertiesOf(PenService &pen)
{
    Json properties = Json::object();
    for (const uint16_t id : kProperties) {
        const PenAnswer answer = pen.ask("R1GP", {encodedShort(id)});
        if (answer.status >= 0)
            properties[fmt::format("0x{:04x}", id)] = answer.value;
    }
    return properties;
}

/** 0 when the pen does not tell it, or one that no scenario takes. */
uint64_t memorySize(const Json &properties)
{
    const Json figures = itemsOf(properties.value(fmt::format("0x{:04x}", kMemory), Json::object()));
    const uint64_t size = figures.size() > kMemorySize ? numberIn(figures[kMemorySize]) : 0;
    return size > UINT32_MAX ? 0 : size;
}

uint64_t strokeBytes(const Json &pages)
{
    uint64_t bytes = 0;
    for (const Json &page : pages)
        bytes += page.contains("hex") ? page["hex"].get_ref<const std::string &>().size() / 2
                                      : page["size"].get<uint64_t>();
    return bytes;
}

void addContent(Json &object, PenService &pen, bool strokes)
{
    object["properties"] = propertiesOf(pen);
    // Stylo pages are told in a sync session only; it ends with the connection.
    if (numberIn(require(pen, "begin a sync session", "U0YB")) == 0)
        throw Failure(ZEL_ERR_SYNC_BUSY, "the pen is busy with another retrieval (9)");
    object["pages"] = pagesOf(pen, strokes);
    object["stylo_pages"] = styloPagesOf(pen, strokes);
    require(pen, "end the sync session", "U0YE");
    if (const uint64_t size = memorySize(object["properties"]);
        size >= strokeBytes(object["pages"]) && size != 0)
        object["memory"] = size;
}

Json scenarioOf(const Announcement &announced, bool strokes)
{
    Json object = {{"id", fmt::format("0x{:016x}", announced.penId)},
                   {"brand", announced.brand},
                   {"software_version", fmt::format("0x{:04x}", announced.softwareVersion)},
                   {"protocols", announced.protocols},
                   {"vendor_id", fmt::format("0x{:04x}", announced.vendorId)},
                   {"product_id", fmt::format("0x{:04x}", announced.productId)}};
    PenService pen(announced.servicePort, kSilence);
    if (numberIn(require(pen, "ask whether the pen is locked", "R1GL")) != 0) {
        note(
            "the pen is locked and tells neither properties nor pages; `penctl unlock`, then export it anew");
        object["locked"] = true;
    } else {
        addContent(object, pen, strokes);
    }
    return {{"pens", Json::array({object})}};
}

void exportPen(const ExportOptions &options)
{
    AtomicFile file(options.output);
    const Announcement announced = choosePen(options.serial);
    Json scenario;
    try {
        scenario = scenarioOf(announced, options.strokes);
    } catch (const NoAnswer &failure) {
        throw Failure(ZEL_ERR_COMMUNICATION,
                      fmt::format("cannot export pen {}: {} (3)\n`penctl doctor` tells more.",
                                  announced.name(), printable(failure.what())));
    }
    const std::string text = scenario.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
    file.write({reinterpret_cast<const uint8_t *>(text.data()), text.size()});
    file.publish();
    const Json &pen = scenario["pens"][0];
    const auto count = [&](const char *key) { return pen.value(key, Json::array()).size(); };
    print(fmt::format("wrote {}: pen {} with {}{}; `pensim --scenario` loads it\n", printable(options.output),
                      announced.name(), counted(count("pages") + count("stylo_pages"), "page", "pages"),
                      options.strokes ? " and their strokes" : ""));
}

} // namespace

void addExport(CLI::App &program)
{
    auto [command, options] =
        addCommand<ExportOptions>(program, "export", "Write a pen as a scenario for pensim", exportPen);
    addText(command, "PEN", options.serial, "", "The pen's serial text; not needed when only one is present",
            Need::Optional);
    addText(command, "-o,--output", options.output, "FILE", "The file to write", Need::Required);
    addFlag(command, "--strokes", options.strokes,
            "With the strokes of its pages; otherwise pensim generates as many");
    addFooter(command,
              "Left out are the Bluetooth PIN, the password and its hint, the owner's data and encrypted "
              "data.");
}

} // namespace penctl
