#include "commands/settings.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>

#include <fmt/format.h>

#include "commands/options.h"
#include "failure.h"
#include "pen/pens.h"
#include "program.h"
#include "ui/output.h"
#include "ui/printable.h"
#include "ui/table.h"
#include "ui/units.h"

namespace penctl {

namespace {

/** A setting of a pen under the name that the command line gives it. */
struct Setting {
    const char *name;
    const char *explanation;
    /** The values that set() takes, for help and complaints; null when the setting can only be read. */
    const char *values;
    Reading (*get)(const zelpp::Pen &pen);
    /** Raises Failure (64) for a text that is no such value. */
    zelpp::Result<void> (*set)(zelpp::Pen &pen, const std::string &value);
};

[[noreturn]] void refuse(const std::string &value, const char *values)
{
    throw Failure(kUsageError, fmt::format("\"{}\" is not {}", printable(value), values));
}

constexpr const char *kFlagValues = "\"on\" or \"off\"";
constexpr const char *kTimeValues =
    "\"now\", milliseconds since 1970, or a GMT time like 2026-03-31T12:00:00Z";
constexpr const char *kPowerOffValues = "a number from 0 to 65535";
constexpr const char *kWakeUpValues = "\"never\" or a number of seconds";
constexpr const char *kPinValues = "a text of digits";

uint64_t millisOf(zelpp::Time time)
{
    return static_cast<uint64_t>(time.time_since_epoch().count());
}

template <zelpp::Result<bool> (zelpp::Pen::*Get)() const>
Reading getFlag(const zelpp::Pen &pen)
{
    return flagReading((pen.*Get)(), "on", "off");
}

template <zelpp::Result<void> (zelpp::Pen::*Set)(bool)>
zelpp::Result<void> setFlag(zelpp::Pen &pen, const std::string &value)
{
    if (value != "on" && value != "off")
        refuse(value, kFlagValues);
    return (pen.*Set)(value == "on");
}

Reading getTime(const zelpp::Pen &pen)
{
    return readingOf(
        pen.tryTime(), [](const zelpp::PenTime &time) { return utcText(millisOf(time.pen)); },
        [](const zelpp::PenTime &time) { return millisOf(time.pen); });
}

zelpp::Result<void> setTime(zelpp::Pen &pen, const std::string &value)
{
    const std::optional<uint64_t> millis = parseTime(value);
    if (!millis)
        refuse(value, kTimeValues);
    return pen.trySetTime(zelpp::Time(std::chrono::milliseconds(static_cast<int64_t>(*millis))));
}

Reading getBluetoothPin(const zelpp::Pen &pen)
{
    return readingOf(pen.tryBluetoothPin(), printable, [](const std::string &pin) { return pin; });
}

zelpp::Result<void> setBluetoothPin(zelpp::Pen &pen, const std::string &value)
{
    return pen.trySetBluetoothPin(value);
}

Reading getAutoPowerOff(const zelpp::Pen &pen)
{
    return readingOf(
        pen.tryAutoPowerOff(), [](uint16_t value) { return std::to_string(value); },
        [](uint16_t value) { return value; });
}

zelpp::Result<void> setAutoPowerOff(zelpp::Pen &pen, const std::string &value)
{
    const std::optional<uint64_t> number = parseNumber(value, UINT16_MAX);
    if (!number)
        refuse(value, kPowerOffValues);
    return pen.trySetAutoPowerOff(static_cast<uint16_t>(*number));
}

Reading getWakeUp(const zelpp::Pen &pen)
{
    return readingOf(
        pen.tryWakeUpTime(),
        [](std::chrono::seconds time) {
            return time.count() == 0 ? std::string("never") : fmt::format("{} s", time.count());
        },
        [](std::chrono::seconds time) { return time.count(); });
}

zelpp::Result<void> setWakeUp(zelpp::Pen &pen, const std::string &value)
{
    const std::optional<uint64_t> seconds = value == "never" ? 0 : parseNumber(value, UINT32_MAX);
    if (!seconds)
        refuse(value, kWakeUpValues);
    return pen.trySetWakeUpTime(std::chrono::seconds(*seconds));
}

Reading getRevisions(const zelpp::Pen &pen)
{
    using zelpp::Revisions;
    return readingOf(
        pen.tryRevisions(),
        [](const Revisions &r) {
            return printable(
                fmt::format("{}, {}, {}, {}", r.revision0, r.hardware, r.revision3, r.revision5));
        },
        [](const Revisions &r) {
            return Json::array({r.revision0, r.hardware, r.revision3, r.revision5});
        });
}

constexpr std::array kSettings = {
    Setting{"time", "the pen's clock", kTimeValues, getTime, setTime},
    Setting{"bluetooth", "Bluetooth", kFlagValues, getFlag<&zelpp::Pen::tryBluetoothEnabled>,
            setFlag<&zelpp::Pen::trySetBluetoothEnabled>},
    Setting{"discoverable", "whether Bluetooth devices may find the pen", kFlagValues,
            getFlag<&zelpp::Pen::tryBluetoothDiscoverableAllowed>,
            setFlag<&zelpp::Pen::trySetBluetoothDiscoverableAllowed>},
    Setting{"bluetooth-pin", "the PIN for pairing, 4 to 16 digits", kPinValues, getBluetoothPin,
            setBluetoothPin},
    Setting{"auto-power-off", "after how long without use the pen switches itself off", kPowerOffValues,
            getAutoPowerOff, setAutoPowerOff},
    Setting{"wake-up", "after how long the pen wakes by itself: 60 to 86400 s", kWakeUpValues, getWakeUp,
            setWakeUp},
    Setting{"secure-delete", "whether removed strokes are overwritten", nullptr,
            getFlag<&zelpp::Pen::trySecureDeleteEnabled>, nullptr},
    Setting{"revisions", "the revisions of the pen's parts", nullptr, getRevisions, nullptr},
};

/** The setting of that name; raises Failure (64), naming those there are, when there is none. */
const Setting &findSetting(const std::string &name)
{
    const auto found = std::find_if(kSettings.begin(), kSettings.end(),
                                    [&](const Setting &setting) { return name == setting.name; });
    if (found != kSettings.end())
        return *found;
    std::string names;
    for (const Setting &setting : kSettings)
        names += fmt::format("{}{}", names.empty() ? "" : ", ", setting.name);
    throw Failure(kUsageError,
                  fmt::format("there is no setting \"{}\"; there are {}", printable(name), names));
}

struct GetOptions {
    PenChoice choice;
    std::vector<std::string> names;
    bool json = false;
};

void getOne(const zelpp::Pen &pen, const Setting &setting)
{
    const Reading reading = setting.get(pen);
    requireAnswer(reading, fmt::format("cannot read {}", setting.name));
    print(reading.text + "\n");
}

/** Raises Failure for a setting that was not read, unless the pen lacks it and it was not asked for by name.
 */
void checkAll(const std::vector<std::pair<const Setting *, Reading>> &readings, bool named)
{
    for (const auto &[setting, reading] : readings) {
        if (named || reading.code != ZEL_ERR_NOT_SUPPORTED)
            requireAnswer(reading, fmt::format("cannot read {}", setting->name));
    }
}

std::vector<const Setting *> chosenSettings(const GetOptions &options)
{
    std::vector<const Setting *> settings;
    for (const std::string &name : options.names)
        settings.push_back(&findSetting(name));
    if (settings.empty())
        for (const Setting &setting : kSettings)
            settings.push_back(&setting);
    return settings;
}

void get(const GetOptions &options)
{
    const std::vector<const Setting *> settings = chosenSettings(options);
    zelpp::Pen pen = openPen(options.choice);
    if (settings.size() == 1 && !options.json)
        return getOne(pen, *settings.front());
    std::vector<std::pair<const Setting *, Reading>> readings;
    Table table({{"SETTING"}, {"VALUE"}});
    Json json = penJson(pen.info());
    for (const Setting *setting : settings) {
        const Reading &reading = readings.emplace_back(setting, setting->get(pen)).second;
        table.addRow({setting->name, readingText(reading)});
        json["settings"][setting->name] = reading.code == ZEL_OK ? reading.json : Json(nullptr);
    }
    if (options.json)
        printJson(json);
    else
        print(table.text(coloursOn(Stream::Output)));
    checkAll(readings, !options.names.empty());
}

struct SetOptions {
    PenChoice choice;
    std::string name;
    std::string value;
};

void set(const SetOptions &options)
{
    const Setting &setting = findSetting(options.name);
    if (!setting.set)
        throw Failure(kUsageError, fmt::format("{} can only be read", setting.name));
    zelpp::Pen pen = openPen(options.choice);
    check(setting.set(pen, options.value), fmt::format("cannot set {}", setting.name));
    const Reading now = setting.get(pen);
    print(fmt::format("{} of pen {}: {}\n", setting.name, serialOf(pen), readingText(now)));
}

void addGet(CLI::App &program)
{
    auto options = std::make_shared<GetOptions>();
    CLI::App &command = addCommand(program, "get", "Read settings of a pen", [options] { get(*options); });
    addPenBeforeOthers(command, options->choice);
    addTexts(command, "SETTING", options->names, "The settings to read; default: all", Need::Optional);
    addJson(command, options->json);
    std::string names = "Settings:\n";
    for (const Setting &setting : kSettings)
        names += fmt::format("  {:<15} {}\n", setting.name, setting.explanation);
    addFooter(command, names);
}

void addSet(CLI::App &program)
{
    auto options = std::make_shared<SetOptions>();
    CLI::App &command = addCommand(program, "set", "Change a setting of a pen", [options] { set(*options); });
    addPenBeforeOthers(command, options->choice);
    addText(command, "SETTING", options->name, "", "The setting's name", Need::Required);
    addText(command, "VALUE", options->value, "", "Its new value", Need::Required);
    std::string values = "Settings and their values:\n";
    for (const Setting &setting : kSettings)
        if (setting.set)
            values += fmt::format("  {:<15} {}\n", setting.name, setting.values);
    addFooter(command, values);
}

} // namespace

Reading readSetting(const zelpp::Pen &pen, const char *name)
{
    return findSetting(name).get(pen);
}

void addSettings(CLI::App &program)
{
    addGet(program);
    addSet(program);
}

} // namespace penctl
