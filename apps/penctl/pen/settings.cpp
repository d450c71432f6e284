#include "pen/settings.h"

#include <algorithm>
#include <array>
#include <chrono>

#include <fmt/format.h>

#include "exit_code.h"
#include "failure.h"
#include "pen/clock.h"
#include "pen/parse_number.h"
#include "ui/printable.h"
#include "ui/units.h"

namespace penctl {

namespace {

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

} // namespace

std::span<const Setting> allSettings()
{
    return kSettings;
}

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

} // namespace penctl
