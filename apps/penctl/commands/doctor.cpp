#include "commands/command.h"

#include <algorithm>

#include <fmt/color.h>
#include <fmt/ranges.h>

#include "doctor/announcements.h"
#include "doctor/pen_service.h"
#include "doctor/port_owner.h"
#include "usb_device_table.h"

/** Looks for what keeps pens away, from the outside in: the port, the pen service, its lists, each pen, its
 * own service. Asks by plain sockets and reads by rules of its own, so that a fault of the library shows too.
 */
namespace penctl {

namespace {

/** The numbers are exit codes and stand in the documents: they do not change. */
enum Check { Port = 1, Service, Pens, Announced, Version, Hidden, UsbId, Connect, Answer, Lock, Build };

struct CheckText {
    const char *name;
    const char *question;
};
constexpr CheckText kChecks[] = {
    {"port", "something listens at the pen service's port"},
    {"service", "it answers as a pen service"},
    {"pens", "it has a pen in ordinary mode"},
    {"announcement", "the library can read the pen's announcement"},
    {"version", "the library supports the pen's protocols and software"},
    {"hidden", "no pen before it in the list makes the library stop"},
    {"usb", "the pen's USB id is in the library's table"},
    {"connect", "the pen's own service takes connections"},
    {"answer", "it answers within 2 seconds whether the pen is locked"},
    {"lock", "the pen is not locked"},
    {"build", "versions, and for which pens this was built (fails never)"},
};

constexpr Limit kLimit{2000};
constexpr const char *kTroubleshooting = "docs/troubleshooting.md";

enum class Verdict { Ok, Wrong, Note };

struct Finding {
    Check check;
    Verdict verdict;
    std::string text;
    std::string remedy;
};

/** What the checks found about one pen, or about all; its announcement as it came. */
struct Section {
    std::string serial;
    PenMode mode = PenMode::Ordinary;
    std::string announcement;
    std::vector<Finding> findings;

    void well(Check check, std::string text)
    {
        findings.push_back({check, Verdict::Ok, std::move(text), {}});
    }
    void wrong(Check check, std::string text, std::string remedy)
    {
        findings.push_back({check, Verdict::Wrong, std::move(text), std::move(remedy)});
    }
};

using Report = std::vector<Section>;

const char *wordOf(Verdict verdict)
{
    constexpr const char *kWords[] = {"ok", "WRONG", "note"};
    return kWords[static_cast<int>(verdict)];
}

const char *wordOf(PenMode mode)
{
    return mode == PenMode::Ordinary ? "ordinary" : "firmware-upgrade";
}

std::string ownerText()
{
    const std::optional<PortOwner> owner = ownerOfPort(kRendezvousPort);
    return owner
               ? fmt::format("{} (process {})",
                             owner->program.empty() ? "a program" : printable(owner->program), owner->process)
               : "a program that the system does not name";
}

/** Whether there is a pen service to look at further. */
bool checkService(Section &section, const PenListing &listing)
{
    using State = PenListing::State;
    if (listing.state == State::Refused || listing.state == State::Unreachable) {
        section.wrong(Port,
                      listing.state == State::Refused
                          ? fmt::format("nothing listens at 127.0.0.1:{}", kRendezvousPort)
                          : fmt::format("127.0.0.1:{}: {}", kRendezvousPort, printable(listing.detail)),
                      "start the pen service, or pensim; the library finds it within 3 seconds");
        return false;
    }
    const std::string owner = ownerText();
    section.well(Port, fmt::format("at 127.0.0.1:{} listens {}", kRendezvousPort, owner));
    switch (listing.state) {
    case State::Silent:
        section.wrong(Service, fmt::format("{} takes the connection and says nothing", owner),
                      "restart it if it is the pen service; otherwise end it: the port is the pen service's");
        return false;
    case State::Closed:
        section.wrong(Service, fmt::format("{} closes the connection without a word", owner),
                      "restart it if it is the pen service; otherwise end it: the port is the pen service's");
        return false;
    case State::OtherProtocol:
        section.wrong(Service,
                      fmt::format("{} speaks another protocol: \"{}\"", owner, printable(listing.detail)),
                      "end it: the port is the pen service's");
        return false;
    case State::Unfinished:
        section.wrong(Service, fmt::format("{} begins the list of pens and does not end it", owner),
                      "restart the pen service; no pen is announced before ENDLIST");
        return false;
    default:
        section.well(Service, "it answers as a pen service");
        return true;
    }
}

std::string namesOf(const PenListing &listing)
{
    std::string names;
    for (const Announcement &pen : listing.announcements)
        names += (names.empty() ? "" : ", ") + pen.name();
    return names;
}

void checkPens(Section &section, const PenListing &ordinary, const PenListing &upgrade)
{
    const auto pens = std::ranges::count_if(ordinary.announcements, &Announcement::isOfPen);
    const auto upgrades = std::ranges::count_if(upgrade.announcements, &Announcement::isOfPen);
    if (pens > 0)
        section.well(Pens, fmt::format("{} in ordinary mode, {} in firmware-upgrade mode", pens, upgrades));
    else if (upgrades > 0)
        section.wrong(Pens,
                      fmt::format("none in ordinary mode; in firmware-upgrade mode: {}", namesOf(upgrade)),
                      "`penctl dfu list` shows it; `penctl dfu reset` starts its firmware");
    else
        section.wrong(Pens, "the pen service has no pen", "dock a pen, or switch it on");
}

std::string joined(const std::vector<std::string> &texts)
{
    return texts.empty() ? "no protocol" : printable(fmt::format("{}", fmt::join(texts, " ")));
}

void checkAnnouncement(Section &section, const Announcement &pen)
{
    if (const std::string fault = pen.fault(); !fault.empty())
        section.wrong(Announced, fault, "the pen service is at fault: tell its maker what it announced");
    else
        section.well(Announced, fmt::format("{} mode, software 0x{:04x}, {}, service port {}",
                                            pen.firmwareUpgrade ? "firmware-upgrade" : "ordinary",
                                            pen.softwareVersion, joined(pen.protocols), pen.servicePort));
}

void checkVersion(Section &section, const Announcement &pen)
{
    const std::string what =
        fmt::format("{} with software 0x{:04x}", joined(pen.protocols), pen.softwareVersion);
    if (pen.isSupported())
        section.well(Version, what + " is supported");
    else
        section.wrong(
            Version, what + " is not supported: the library does not announce the pen",
            "supported are PSP41, PSP40 up to 0x0503, DFUPSP10 with 0x0100: update the pen's software, "
            "or take the pen off");
}

/** blocker  the pen before this one at which the library stops; null without one */
void checkHidden(Section &section, const Announcement *blocker)
{
    if (blocker == nullptr)
        return section.well(Hidden, "no pen before it stops the library");
    if (blocker->spoilsList())
        return section.wrong(
            Hidden, fmt::format("hidden: the library drops the list, because of {}", blocker->name()),
            "take that pen off; the library then lists this one when it is docked anew");
    section.wrong(
        Hidden,
        fmt::format("hidden: the library stops at the unsupported pen before it, {}", blocker->name()),
        "take that pen off, or dock this one again: what arrives later is announced");
}

void checkUsbId(Section &section, const Announcement &pen)
{
    const bool known = std::ranges::any_of(zel::kSupportedUsbDevices, [&](const zel::UsbDevice &device) {
        return device.vendorId == pen.vendorId && device.productId == pen.productId;
    });
    const std::string id = fmt::format("{:04x}:{:04x}", pen.vendorId, pen.productId);
    if (known)
        section.well(UsbId, pen.vendorId == 0 && pen.productId == 0 ? "none is announced, which is accepted"
                                                                    : id + " is in the built-in table");
    else
        section.wrong(UsbId, id + " is not in the built-in table: connecting gives 10",
                      "build the library with a table that has it: -DZEL_USB_TABLE, docs/building.md");
}

void checkOwnService(Section &section, const Announcement &pen, PenMode mode)
{
    Check check = Connect;
    try {
        PenService service(pen.servicePort, kLimit);
        section.well(Connect, fmt::format("port {} takes connections", pen.servicePort));
        // In firmware-upgrade mode every question changes the pen's state.
        if (mode == PenMode::FirmwareUpgrade)
            return;
        check = Answer;
        const PenAnswer answer = service.ask("R1GL");
        if (answer.status < 0)
            throw NoAnswer(fmt::format("refuses to tell whether it is locked (status {})", answer.status));
        section.well(Answer, "the question whether it is locked was answered");
        if (numberIn(answer.value) == 0)
            section.well(Lock, "not locked");
        else
            section.wrong(Lock, "the pen is locked: most calls give 2",
                          "`penctl unlock " + pen.name() + "`; `penctl lock` shows the password hint");
    } catch (const NoAnswer &failure) {
        section.wrong(check, printable(failure.what()),
                      check == Connect
                          ? "dock the pen again; if that does not help, restart the pen service"
                          : "restart the pen service; meanwhile calls for this pen would wait for ever");
    }
}

void checkListed(Report &report, const PenListing &listing, PenMode mode)
{
    const auto spoiler = std::ranges::find_if(listing.announcements, &Announcement::spoilsList);
    const Announcement *blocker = spoiler == listing.announcements.end() ? nullptr : &*spoiler;
    for (const Announcement &pen : listing.announcements) {
        Section &section = report.emplace_back(Section{pen.name(), mode, pen.text, {}});
        checkAnnouncement(section, pen);
        if (!pen.isOfPen())
            continue;
        checkVersion(section, pen);
        if (&pen != blocker)
            checkHidden(section, blocker);
        if (mode == PenMode::Ordinary)
            checkUsbId(section, pen);
        if (pen.servicePort != 0)
            checkOwnService(section, pen, mode);
        if (blocker == nullptr && !pen.isSupported())
            blocker = &pen;
    }
}

Section buildSection()
{
    Section section;
    const auto kindOf = [](bool standIn) { return standIn ? "a stand-in" : "a product's"; };
    const bool any = PENCTL_STAND_IN_CHAINING_VALUE || PENCTL_STAND_IN_USB_TABLE;
    section.findings.push_back(
        {Build, any ? Verdict::Note : Verdict::Ok,
         fmt::format("penctl {}, library {}; chaining value: {}; USB table: {}", PENCTL_VERSION,
                     zelpp::apiVersion(), kindOf(PENCTL_STAND_IN_CHAINING_VALUE),
                     kindOf(PENCTL_STAND_IN_USB_TABLE)),
         any ? "stand-ins are good for pensim; for pens in the field build with both, docs/building.md"
             : ""});
    return section;
}

Report examine()
{
    Report report(1);
    const PenListing ordinary = listPens(PenMode::Ordinary, kLimit);
    if (checkService(report[0], ordinary)) {
        const PenListing upgrade = listPens(PenMode::FirmwareUpgrade, kLimit);
        checkPens(report[0], ordinary, upgrade);
        checkListed(report, ordinary, PenMode::Ordinary);
        checkListed(report, upgrade, PenMode::FirmwareUpgrade);
    }
    report.push_back(buildSection());
    return report;
}

/** The lowest number of a check that failed; 0 when none did. */
int exitCodeOf(const Report &report)
{
    int lowest = 0;
    for (const Section &section : report)
        for (const Finding &finding : section.findings)
            if (finding.verdict == Verdict::Wrong && (lowest == 0 || finding.check < lowest))
                lowest = finding.check;
    return lowest;
}

std::string lineOf(const Finding &finding, bool colours)
{
    std::string word = fmt::format("{:<5}", wordOf(finding.verdict));
    if (colours && finding.verdict != Verdict::Note)
        word = fmt::format(
            fmt::fg(finding.verdict == Verdict::Ok ? fmt::terminal_color::green : fmt::terminal_color::red),
            "{}", word);
    std::string line = fmt::format("{:>2} {:<12} {} {}\n", static_cast<int>(finding.check),
                                   kChecks[finding.check - 1].name, word, finding.text);
    if (!finding.remedy.empty())
        line += fmt::format("{:22}-> {}\n", "", finding.remedy);
    return line;
}

std::string headOf(const Section &section)
{
    if (section.announcement.empty())
        return {};
    std::string text = fmt::format("\npen {}, {} mode\n", section.serial, wordOf(section.mode));
    std::string_view rest = section.announcement;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find("\r\n"));
        text += fmt::format("   | {}\n", printable(line));
        rest.remove_prefix(std::min(rest.size(), line.size() + 2));
    }
    return text;
}

void printText(const Report &report)
{
    const bool colours = coloursOn(Stream::Output);
    for (const Section &section : report) {
        print(headOf(section) + (&section == &report.back() ? "\n" : ""));
        for (const Finding &finding : section.findings)
            print(lineOf(finding, colours));
    }
}

void printAsJson(const Report &report)
{
    Json announcements = Json::array();
    Json checks = Json::array();
    for (const Section &section : report) {
        const Json pen = section.announcement.empty() ? Json(nullptr) : Json(section.serial);
        if (!section.announcement.empty())
            announcements.push_back(
                {{"pen", pen}, {"list", wordOf(section.mode)}, {"text", section.announcement}});
        for (const Finding &finding : section.findings) {
            constexpr const char *kVerdicts[] = {"ok", "wrong", "note"};
            checks.push_back({{"check", static_cast<int>(finding.check)},
                              {"name", kChecks[finding.check - 1].name},
                              {"pen", pen},
                              {"verdict", kVerdicts[static_cast<int>(finding.verdict)]},
                              {"text", finding.text}});
            if (!finding.remedy.empty())
                checks.back()["remedy"] = finding.remedy;
        }
    }
    printJson({{"firstFailed", exitCodeOf(report)},
               {"announcements", announcements},
               {"checks", checks},
               {"standIns",
                {{"chainingValue", PENCTL_STAND_IN_CHAINING_VALUE != 0},
                 {"usbTable", PENCTL_STAND_IN_USB_TABLE != 0}}}});
}

void doctor(bool json)
{
    const Report report = examine();
    if (json)
        printAsJson(report);
    else
        printText(report);
    if (const int code = exitCodeOf(report); code != 0)
        throw Failure(code, "");
}

std::string checkList()
{
    std::string text = "Checks:\n";
    for (std::size_t i = 0; i < std::size(kChecks); ++i)
        text += fmt::format("  {:>2} {:<13} {}\n", i + 1, kChecks[i].name, kChecks[i].question);
    return text + "The exit code is 0, or the lowest number of a check that failed.\n" + kTroubleshooting +
           " goes on from there.";
}

} // namespace

void addDoctor(CLI::App &program)
{
    auto json = std::make_shared<bool>(false);
    CLI::App &command =
        addCommand(program, "doctor", "Find out why a pen does not show up", [json] { doctor(*json); });
    addJson(command, *json);
    addFooter(command, checkList());
}

} // namespace penctl
