#include "commands/command.h"

#include <fmt/color.h>

#include "ui/progress.h"

namespace penctl {

namespace {

constexpr std::size_t kMemoryBar = 20;

/** What a pen answered to one question after the other: rows under headings for people, and an object of
 *  objects for programs. */
class Interview
{
public:
    Interview(const zelpp::Pen &pen, bool boldTitles) : m_pen(pen), m_boldTitles(boldTitles) {}

    void section(const char *title, const char *key)
    {
        m_text += m_boldTitles ? fmt::format(fmt::emphasis::bold, "{}", title) : title;
        m_text += "\n";
        m_section = key;
    }

    /** Raises Failure when the connection is lost, because every later question would fail too. */
    void add(const char *label, const char *key, const Reading &reading)
    {
        if (reading.code == ZEL_ERR_COMMUNICATION)
            requireAnswer(reading, fmt::format("cannot read {}", label));
        m_text += fmt::format("  {:<18} {}\n", label, readingText(reading));
        m_json[m_section][key] = reading.json;
        if (reading.code == ZEL_OK)
            return;
        m_unavailable.push_back({{"name", fmt::format("{}.{}", m_section, key)},
                                 {"code", reading.code},
                                 {"reason", resultWords(reading.code)}});
        const bool expected = reading.code == ZEL_ERR_PEN_LOCKED || reading.code == ZEL_ERR_NOT_SUPPORTED;
        if (m_firstFailure.code == ZEL_OK && !expected)
            m_firstFailure = reading;
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

    const std::string &text() const { return m_text; }

    /** An object for each section. A question without an answer is null, and "unavailable" says why. */
    Json json() const
    {
        Json json = penJson(m_pen.info(), m_json);
        json["unavailable"] = m_unavailable;
        return json;
    }

    /** The first failure other than "locked" and "not supported", which are expected. */
    const Reading &firstFailure() const { return m_firstFailure; }

private:
    const zelpp::Pen &m_pen;
    bool m_boldTitles;
    std::string m_text;
    std::string m_section;
    Json m_json;
    Json m_unavailable = Json::array();
    Reading m_firstFailure;
};

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

Json memoryJson(const zelpp::MemoryStatus &memory)
{
    return {{"used", memory.used}, {"total", memory.total}};
}

std::string pageListText(const zelpp::PageList &list)
{
    return fmt::format("{}, {} of strokes", counted(list.addresses.size(), "page", "pages"),
                       humanBytes(list.totalBytes));
}

Json pageListJson(const zelpp::PageList &list)
{
    return {{"count", list.addresses.size()}, {"bytes", list.totalBytes}};
}

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
    interview.add("used", "bytes", readingOf(pen.tryMemoryStatus(), memoryText, memoryJson));
    interview.add("pages", "pages", readingOf(pen.tryPages(), pageListText, pageListJson));
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

void info(const Question &question)
{
    const zelpp::Pen pen = openPen(question.choice);
    Interview interview(pen, coloursOn(Stream::Output));
    askAll(interview, pen);
    if (question.json)
        printJson(interview.json());
    else
        print(interview.text());
    requireAnswer(interview.firstFailure(), "some of it cannot be read");
}

} // namespace

void addInfo(CLI::App &program)
{
    addQuestion(program, "info", "Show all that a pen tells of itself", info);
}

} // namespace penctl
