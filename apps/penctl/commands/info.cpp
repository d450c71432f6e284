#include "program.h"

#include <memory>

#include <fmt/color.h>

#include "commands/options.h"
#include "commands/settings.h"
#include "pen/answer.h"
#include "pen/pens.h"
#include "ui/printable.h"
#include "ui/progress.h"
#include "ui/units.h"

namespace penctl {

namespace {

/** The answers of a pen: rows under headings for people, an object of objects for programs. */
class InfoView
{
public:
    void section(std::string title, std::string key);
    void row(std::string label, std::string key, Reading reading);

    std::string text(bool boldTitles) const;

    /** Adds an object for each section. A question without an answer is null, and "unavailable" says why. */
    void addTo(Json &json) const;

    /** The first result code other than "locked" and "not supported", which are expected; 0 when there is
     * none. */
    uint32_t firstFailure() const;

private:
    struct Row {
        std::string label;
        std::string key;
        Reading reading;
    };
    struct Section {
        std::string title;
        std::string key;
        std::vector<Row> rows;
    };

    std::vector<Section> m_sections;
};

void InfoView::section(std::string title, std::string key)
{
    m_sections.push_back({std::move(title), std::move(key), {}});
}

void InfoView::row(std::string label, std::string key, Reading reading)
{
    m_sections.back().rows.push_back({std::move(label), std::move(key), std::move(reading)});
}

std::string InfoView::text(bool boldTitles) const
{
    std::string all;
    for (const Section &section : m_sections) {
        all += boldTitles ? fmt::format(fmt::emphasis::bold, "{}", section.title) : section.title;
        all += "\n";
        for (const Row &row : section.rows)
            all += fmt::format("  {:<18} {}\n", row.label, readingText(row.reading));
    }
    return all;
}

void InfoView::addTo(Json &json) const
{
    Json unavailable = Json::array();
    for (const Section &section : m_sections) {
        for (const Row &row : section.rows) {
            const uint32_t code = row.reading.code;
            json[section.key][row.key] = code == ZEL_OK ? row.reading.json : Json(nullptr);
            if (code != ZEL_OK)
                unavailable.push_back(
                    {{"name", section.key + "." + row.key}, {"code", code}, {"reason", resultWords(code)}});
        }
    }
    json["unavailable"] = unavailable;
}

uint32_t InfoView::firstFailure() const
{
    for (const Section &section : m_sections)
        for (const Row &row : section.rows)
            if (row.reading.code != ZEL_OK && row.reading.code != ZEL_ERR_PEN_LOCKED &&
                row.reading.code != ZEL_ERR_NOT_SUPPORTED)
                return row.reading.code;
    return ZEL_OK;
}

struct InfoOptions {
    PenChoice choice;
    bool json = false;
};

constexpr std::size_t kMemoryBar = 20;

Reading readProductName(const zelpp::Pen &pen)
{
    return readingOf(
        pen.tryProductName(),
        [](const std::string &name) { return name.empty() ? "(none)" : printable(name); },
        [](const std::string &name) { return name.empty() ? Json(nullptr) : Json(name); });
}

/** How far the pen's clock is from this machine's. The pen read its clock about half-way through the
 * exchange. */
Reading readClockDrift(const zelpp::Pen &pen)
{
    const uint64_t before = hostMillis();
    const zelpp::Result<zelpp::PenTime> time = pen.tryTime();
    const uint64_t middle = before + (hostMillis() - before) / 2;
    const auto ahead = [middle](const zelpp::PenTime &clocks) {
        return static_cast<int64_t>(static_cast<uint64_t>(clocks.pen.time_since_epoch().count()) - middle);
    };
    return readingOf(
        time, [&](const zelpp::PenTime &clocks) { return driftText(ahead(clocks)); }, ahead);
}

std::string batteryText(const zelpp::BatteryStatus &figures)
{
    std::string text;
    for (const std::optional<uint16_t> &figure : figures)
        text += (text.empty() ? "" : "  ") + (figure ? std::to_string(*figure) : "-");
    return text;
}

Json batteryJson(const zelpp::BatteryStatus &figures)
{
    Json json = Json::array();
    for (const std::optional<uint16_t> &figure : figures)
        json.push_back(figure ? Json(*figure) : Json(nullptr));
    return json;
}

std::string memoryText(const zelpp::MemoryStatus &memory)
{
    if (memory.used > memory.total)
        return fmt::format("{} in all; the pen reports more free than that", humanBytes(memory.total));
    const double share =
        memory.total == 0 ? 0 : static_cast<double>(memory.used) / static_cast<double>(memory.total);
    return fmt::format("{} {:.0f}%, {} of {}",
                       barText(share, kMemoryBar, showsUnicode(Stream::Output), BarLook::Plain), share * 100,
                       humanBytes(memory.used), humanBytes(memory.total));
}

Reading readMemory(const zelpp::Pen &pen)
{
    return readingOf(pen.tryMemoryStatus(), memoryText, [](const zelpp::MemoryStatus &memory) {
        return Json{{"used", memory.used}, {"total", memory.total}};
    });
}

Reading readPages(const zelpp::Pen &pen)
{
    return readingOf(
        pen.tryPages(),
        [](const zelpp::PageList &list) {
            return fmt::format("{}, {} of strokes", counted(list.addresses.size(), "page", "pages"),
                               humanBytes(list.totalBytes));
        },
        [](const zelpp::PageList &list) {
            return Json{{"count", list.addresses.size()}, {"bytes", list.totalBytes}};
        });
}

/** Asks one question after the other. Raises Failure when the connection is lost, because every later
 * question would fail too. */
class Interview
{
public:
    explicit Interview(const zelpp::Pen &pen) : m_pen(pen) {}

    void section(const char *title, const char *key) { m_view.section(title, key); }
    void add(const char *label, const char *key, Reading reading)
    {
        if (reading.code == ZEL_ERR_COMMUNICATION)
            requireAnswer(reading, fmt::format("cannot read {}", label));
        m_view.row(label, key, std::move(reading));
    }
    void known(const char *label, const char *key, const std::string &text)
    {
        add(label, key, {ZEL_OK, printable(text), text});
    }
    void setting(const char *label, const char *key, const char *name)
    {
        add(label, key, readSetting(m_pen, name));
    }
    void flag(const char *label, const char *key, const zelpp::Result<bool> &answer)
    {
        add(label, key, flagReading(answer, "yes", "no"));
    }

    const InfoView &view() const { return m_view; }

private:
    const zelpp::Pen &m_pen;
    InfoView m_view;
};

void askAll(Interview &interview, const zelpp::Pen &pen)
{
    interview.section("Identity", "identity");
    interview.known("serial", "serial", pen.serial());
    interview.known("pen id", "penId", penIdText(pen.info().penId));
    interview.known("USB id", "usbId", usbText(pen.info()));
    interview.add("product", "product", readProductName(pen));
    interview.setting("revisions", "revisions", "revisions");
    interview.section("Clock", "clock");
    interview.setting("time", "timeMillis", "time");
    interview.add("against this host", "driftMillis", readClockDrift(pen));
    interview.section("Power", "power");
    interview.add("battery", "battery", readingOf(pen.tryBatteryStatus(), batteryText, batteryJson));
    interview.setting("auto power off", "autoPowerOff", "auto-power-off");
    interview.setting("wake-up", "wakeUp", "wake-up");
    interview.section("Memory", "memory");
    interview.add("used", "bytes", readMemory(pen));
    interview.add("pages", "pages", readPages(pen));
    interview.setting("secure delete", "secureDelete", "secure-delete");
    interview.section("Bluetooth", "bluetooth");
    interview.setting("Bluetooth", "enabled", "bluetooth");
    interview.setting("discoverable", "discoverable", "discoverable");
    interview.section("Lock and keys", "security");
    interview.add("lock", "locked", readLocked(pen));
    interview.add("password hint", "passwordHint", readPasswordHint(pen));
    interview.flag("authenticator", "certificateAuthenticator", pen.tryHasCertificateAuthenticator());
    interview.flag("signing key", "signingKey", pen.tryHasSigningKey());
    interview.flag("encrypted data", "encryptedData", pen.tryHasEncryptedData());
}

void info(const InfoOptions &options)
{
    const zelpp::Pen pen = openPen(options.choice);
    Interview interview(pen);
    askAll(interview, pen);
    if (options.json) {
        Json json = penJson(pen.info());
        interview.view().addTo(json);
        printJson(json);
    } else {
        print(interview.view().text(coloursOn(Stream::Output)));
    }
    requireAnswer({interview.view().firstFailure(), {}, nullptr}, "some of it cannot be read");
}

} // namespace

void addInfo(CLI::App &program)
{
    auto options = std::make_shared<InfoOptions>();
    CLI::App &command =
        addCommand(program, "info", "Show all that a pen tells of itself", [options] { info(*options); });
    addPen(command, options->choice);
    addJson(command, options->json);
}

} // namespace penctl
