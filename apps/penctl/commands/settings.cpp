#include "commands/command.h"

#include <algorithm>
#include <array>
#include <chrono>

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

constexpr const char *kFlagValues = "\"on\" or \"off\"";
constexpr const char *kTimeValues =
    "\"now\", milliseconds since 1970, or a GMT time like 2026-03-31T12:00:00Z";
constexpr const char *kPowerOffValues = "a number from 0 to 65535";
constexpr const char *kWakeUpValues = "\"never\" or a number of seconds";
constexpr const char *kPinValues = "a text of digits";

/** The value that a text was understood as; raises Failure (64) when it was not. */
template <class T>
T understood(const std::optional<T> &parsed, const std::string &value, const char *values)
{
    if (!parsed)
        throw Failure(kUsageError, fmt::format("\"{}\" is not {}", printable(value), values));
    return *parsed;
}

template <zelpp::Result<bool> (zelpp::Pen::*Get)() const>
Reading getFlag(const zelpp::Pen &pen)
{
    return flagReading((pen.*Get)(), "on", "off");
}

template <zelpp::Result<void> (zelpp::Pen::*Set)(bool)>
zelpp::Result<void> setFlag(zelpp::Pen &pen, const std::string &value)
{
    const std::optional<bool> flag =
        value == "on" || value == "off" ? std::optional(value == "on") : std::nullopt;
    return (pen.*Set)(understood(flag, value, kFlagValues));
}

uint64_t penMillis(const zelpp::PenTime &time)
{
    return static_cast<uint64_t>(time.pen.time_since_epoch().count());
}

Reading getTime(const zelpp::Pen &pen)
{
    return readingOf(
        pen.tryTime(), [](const zelpp::PenTime &time) { return utcText(penMillis(time)); }, penMillis);
}

zelpp::Result<void> setTime(zelpp::Pen &pen, const std::string &value)
{
    const uint64_t millis = understood(parseTime(value), value, kTimeValues);
    return pen.trySetTime(zelpp::Time(std::chrono::milliseconds(static_cast<int64_t>(millis))));
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
    const uint64_t number = understood(parseNumber(value, UINT16_MAX), value, kPowerOffValues);
    return pen.trySetAutoPowerOff(static_cast<uint16_t>(number));
}

Reading getWakeUp(const zelpp::Pen &pen)
{
    return readingOf(
        pen.tryWakeUpTime(),
        [](std::chrono::seconds time) {
            return time.count() == 0 ? "never" : fmt::format("{} s", time.count());
        },
        [](std::chrono::seconds time) { return time.count(); });
}

zelpp::Result<void> setWakeUp(zelpp::Pen &pen, const std::string &value)
{
    const std::optional<uint64_t> seconds = value == "never" ? 0 : parseNumber(value, UINT32_MAX);
    return pen.trySetWakeUpTime(std::chrono::seconds(understood(seconds, value, kWakeUpValues)));
}

Reading getRevisions(const zelpp::Pen &pen)
{
    using Four = std::array<std::string, 4>;
    const auto four = [](const zelpp::Revisions &r) {
        return Four{r.revision0, r.hardware, r.revision3, r.revision5};
    };
    return readingOf(
        pen.tryRevisions(),
        [&](const zelpp::Revisions &r) { return printable(fmt::format("{}", fmt::join(four(r), ", "))); },
        four);
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
    std::string names;
    for (const Setting &setting : kSettings) {
        if (name == setting.name)
            return setting;
        names += fmt::format("{}{}", names.empty() ? "" : ", ", setting.name);
    }
    throw Failure(kUsageError,
                  fmt::format("there is no setting \"{}\"; there are {}", printable(name), names));
}

struct GetOptions {
    PenChoice choice;
    std::vector<std::string> names;
    bool json = false;
};

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

/** Raises Failure for a setting that was not read. */
void requireSetting(const Setting &setting, const Reading &reading)
{
    requireAnswer(reading, fmt::format("cannot read {}", setting.name));
}

void get(const GetOptions &options)
{
    const std::vector<const Setting *> settings = chosenSettings(options);
    const zelpp::Pen pen = openPen(options.choice);
    std::vector<Reading> readings;
    Table table({{"SETTING"}, {"VALUE"}});
    Json json = penJson(pen.info());
    for (const Setting *setting : settings) {
        const Reading &reading = readings.emplace_back(setting->get(pen));
        table.addRow({setting->name, readingText(reading)});
        json["settings"][setting->name] = reading.json;
    }
    if (options.json) {
        printJson(json);
    } else if (settings.size() == 1) {
        requireSetting(*settings[0], readings[0]);
        print(readings[0].text + "\n");
    } else {
        print(table.text(coloursOn(Stream::Output)));
    }
    // A setting that the pen lacks is a failure only if it was asked for by name.
    for (std::size_t i = 0; i < settings.size(); ++i)
        if (!options.names.empty() || readings[i].code != ZEL_ERR_NOT_SUPPORTED)
            requireSetting(*settings[i], readings[i]);
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
    print(fmt::format("{} of pen {}: {}\n", setting.name, serialOf(pen), readingText(setting.get(pen))));
}

void addGet(CLI::App &program)
{
    auto [command, options] = addCommand<GetOptions>(program, "get", "Read settings of a pen", get);
    addPenBeforeOthers(command, options.choice);
    addTexts(command, "SETTING", options.names, "The settings to read; default: all", Need::Optional);
    addJson(command, options.json);
    std::string names = "Settings:\n";
    for (const Setting &setting : kSettings)
        names += fmt::format("  {:<15} {}\n", setting.name, setting.explanation);
    addFooter(command, names);
}

void addSet(CLI::App &program)
{
    auto [command, options] = addCommand<SetOptions>(program, "set", "Change a setting of a pen", set);
    addPenBeforeOthers(command, options.choice);
    addText(command, "SETTING", options.name, "", "The setting's name", Need::Required);
    addText(command, "VALUE", options.value, "", "Its new value", Need::Required);
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
