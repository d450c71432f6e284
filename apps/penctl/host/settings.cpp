#include "host/settings.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "exit_code.h"
#include "failure.h"
#include "host/host_memory.h"
#include "host/parse_number.h"
#include "host/pen_clock.h"
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

template <uint32_t (*Get)(PenHandle *, uint8_t *)>
Reading getFlag(PenHandle *pen)
{
    uint8_t flag = 0;
    const uint32_t code = Get(pen, &flag);
    return {code, flag ? "on" : "off", flag != 0};
}

template <uint32_t (*Set)(PenHandle *, uint8_t)>
uint32_t setFlag(PenHandle *pen, const std::string &value)
{
    if (value != "on" && value != "off")
        refuse(value, kFlagValues);
    return Set(pen, value == "on" ? 1 : 0);
}

Reading getTime(PenHandle *pen)
{
    uint64_t penTime = 0;
    uint64_t systemTime = 0;
    const uint32_t code = zelGetTime(pen, &penTime, &systemTime);
    return {code, utcText(penTime), penTime};
}

uint32_t setTime(PenHandle *pen, const std::string &value)
{
    const std::optional<uint64_t> millis = parseTime(value);
    if (!millis)
        refuse(value, kTimeValues);
    return zelSetTime(pen, *millis);
}

Reading getBluetoothPin(PenHandle *pen)
{
    LibraryText pin;
    const uint32_t code = zelGetBluetoothPin(pen, pin.out());
    return {code, printable(pin.str()), pin.str()};
}

uint32_t setBluetoothPin(PenHandle *pen, const std::string &value)
{
    return zelSetBluetoothPin(pen, value.c_str());
}

Reading getAutoPowerOff(PenHandle *pen)
{
    uint16_t value = 0;
    const uint32_t code = zelGetAutoPowerOff(pen, &value);
    return {code, std::to_string(value), value};
}

uint32_t setAutoPowerOff(PenHandle *pen, const std::string &value)
{
    const std::optional<uint64_t> number = parseNumber(value, UINT16_MAX);
    if (!number)
        refuse(value, kPowerOffValues);
    return zelSetAutoPowerOff(pen, static_cast<uint16_t>(*number));
}

Reading getWakeUp(PenHandle *pen)
{
    uint32_t seconds = 0;
    const uint32_t code = zelGetWakeUpTime(pen, &seconds);
    return {code, seconds == 0 ? "never" : fmt::format("{} s", seconds), seconds};
}

uint32_t setWakeUp(PenHandle *pen, const std::string &value)
{
    const std::optional<uint64_t> seconds = value == "never" ? 0 : parseNumber(value, UINT32_MAX);
    if (!seconds)
        refuse(value, kWakeUpValues);
    return zelSetWakeUpTime(pen, static_cast<uint32_t>(*seconds));
}

Reading getRevisions(PenHandle *pen)
{
    LibraryText first;
    LibraryText second;
    LibraryText third;
    LibraryText fourth;
    const uint32_t code = zelGetPenRevisions(pen, first.out(), second.out(), third.out(), fourth.out());
    const Json list = Json::array({first.str(), second.str(), third.str(), fourth.str()});
    return {code, printable(first.str() + ", " + second.str() + ", " + third.str() + ", " + fourth.str()),
            list};
}

constexpr std::array kSettings = {
    Setting{"time", "the pen's clock", kTimeValues, getTime, setTime},
    Setting{"bluetooth", "Bluetooth", kFlagValues, getFlag<zelGetBluetoothEnabled>,
            setFlag<zelSetBluetoothEnabled>},
    Setting{"discoverable", "whether Bluetooth devices may find the pen", kFlagValues,
            getFlag<zelGetBluetoothDiscoverableAllowed>, setFlag<zelSetBluetoothDiscoverableAllowed>},
    Setting{"bluetooth-pin", "the PIN for pairing, 4 to 16 digits", kPinValues, getBluetoothPin,
            setBluetoothPin},
    Setting{"auto-power-off", "after how long without use the pen switches itself off", kPowerOffValues,
            getAutoPowerOff, setAutoPowerOff},
    Setting{"wake-up", "after how long the pen wakes by itself: 60 to 86400 s", kWakeUpValues, getWakeUp,
            setWakeUp},
    Setting{"secure-delete", "whether removed strokes are overwritten", nullptr,
            getFlag<zelGetSecureDeleteEnabled>, nullptr},
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
