#include "api/call_frame.h"
#include "api/copy_out.h"
#include "protocol/values/value_convert.h"
#include "psp/property_ids.h"
#include "session/pen_handle.h"
#include "sys/exceptions.h"
#include "sys/log.h"

#include <algorithm>
#include <charconv>
#include <cstring>

using namespace zel;

namespace {

constexpr std::int16_t kWakeUpSoftware = 0x0502;

// Pairs of exports that read and write one property. They differ only in the members below.

struct FlagSetting {
    CallFrame set;
    CallFrame get;
    std::uint16_t property;
    const char *what; // in log texts
};

constexpr FlagSetting kBluetoothEnabled{
    {.logName = "zelSetBtEnabled"}, {.logName = "zelGetBtEnabled"}, property::BT_ENABLED, "BT enabled"};
constexpr FlagSetting kBluetoothDiscoverable{{.logName = "zelSetBtDiscoverableAllowed"},
                                             {.logName = "zelGetBtDiscoverableAllowed"},
                                             property::DISCOVERABLE_ALLOWED,
                                             "discoverable allowed"};

struct NumberSetting {
    CallFrame set;
    CallFrame get;
    std::uint16_t property;
    ValueType type;
};

constexpr NumberSetting kAutoPowerOff{{.logName = "zelSetAutoPowerOff"},
                                      {.logName = "zelGetAutoPowerOff"},
                                      property::AUTO_POWER_OFF,
                                      ValueType::Short16};
constexpr NumberSetting kWakeUpTime{{.logName = "zelSetWakeUpTime", .minVersion = kWakeUpSoftware},
                                    {.logName = "zelGetWakeUpTime", .minVersion = kWakeUpSoftware},
                                    property::PEN_WAKE_UP_TIME,
                                    ValueType::Int32};

std::uint32_t setFlag(const FlagSetting &setting, PenHandle *pen, std::uint8_t flag)
{
    return setting.set.run(pen, {}, [&] {
        LogDebug("[", setting.set.logName, "] newValue= '", flag, "'");
        LogInfo("Set '", setting.what, "' in pen to '", flag != 0 ? "true" : "false", "'");
        pen->psp().setValueProperty(setting.property, Value::createBool(flag != 0));
        return ZEL_OK;
    });
}

std::uint32_t getFlag(const FlagSetting &setting, PenHandle *pen, std::uint8_t *flag)
{
    return setting.get.run(pen, {preset<std::uint8_t>(flag, 0)}, [&] {
        const Value value = pen->psp().getValueProperty(setting.property);
        const bool set = toNumber<std::uint64_t>(value) != 0;
        const char *text = isNull(value) ? "null" : set ? "true" : "false";
        LogInfo("Read '", setting.what, "' from pen: Value: ", text);
        *flag = set; // last, so that the output is 0 after a failure
        return ZEL_OK;
    });
}

template <class Number>
std::uint32_t getNumber(const NumberSetting &setting, PenHandle *pen, Number *output)
{
    return setting.get.run(pen, {required(output)}, [&] {
        const Value value = pen->psp().getValueProperty(setting.property);
        // A value of another type is only logged; it is converted, too.
        if (value.getType() != setting.type)
            LogError("[", setting.get.logName, "] bad type.");
        *output = toNumber<Number>(value);
        return ZEL_OK;
    });
}

/** The time of one of the pen's clocks; 0 when the answer is not a long64. */
std::uint64_t readClock(const PenHandle &pen, std::uint16_t property, const char *name)
{
    const Value value = pen.psp().getValueProperty(property);
    if (value.getType() == ValueType::Long64)
        return toNumber<std::uint64_t>(value);
    LogError("Wrong type for ", name, " property. Expected VALUE_LONG64, got ",
             Value::typeName(static_cast<std::int32_t>(value.getType())));
    return 0;
}

/** Valid are 0 (never) and one minute to one day. Compared as a signed number. */
bool isWakeUpTime(std::uint32_t seconds)
{
    const auto time = static_cast<std::int32_t>(seconds);
    return time == 0 || (time >= 60 && time <= 86400);
}

/** The part of a hardware revision between the first "_" and the next. */
std::string secondPiece(const std::string &revision)
{
    const std::size_t first = revision.find('_');
    if (first == std::string::npos)
        throw ZELException();
    const std::size_t begin = first + 1;
    return revision.substr(begin, revision.find('_', begin) - begin);
}

std::size_t longestPin(PspClient2 &psp)
{
    constexpr std::size_t kLong = 16;
    constexpr std::size_t kShort = 4;

    const Value revisions = psp.getValueProperty(property::PEN_REVISIONS);
    const std::string hardware = toText(elementAt(revisions.getArray(), 1));
    const Value software = psp.getValueProperty(property::PEN_SOFTWARE_VERSION);
    if (toNumber<std::uint16_t>(software) != 0x0500)
        return kLong;
    // With this software version, only hardware revisions from 3D on support a long PIN.
    return secondPiece(hardware) >= "3D" ? kLong : kShort;
}

bool isPin(const std::string &pin, std::size_t longest)
{
    return pin.size() >= 4 && pin.size() <= longest &&
           std::all_of(pin.begin(), pin.end(), [](char symbol) { return symbol >= '0' && symbol <= '9'; });
}

} // namespace

uint32_t zelSetTime(PenHandle *pen, uint64_t millis)
{
    static constexpr CallFrame frame{.logName = "zelSetTime", .entryMark = CallFrame::kNoMark};
    return frame.run(pen, {}, [&] {
        char digits[16];
        const auto end = std::to_chars(digits, std::end(digits), millis, 16).ptr;
        LogDebug("[zelSetTime] ", millis != 0 ? "0x" : "", std::string_view(digits, end),
                 " millis since 1970, GMT");
        pen->psp().setValueProperty(property::PEN_TIME, Value::createLong(millis));
        return ZEL_OK;
    });
}

uint32_t zelGetTime(PenHandle *pen, uint64_t *penTime, uint64_t *systemTime)
{
    // The closing bracket is missing in the text for a locked pen. The text is fixed.
    static constexpr CallFrame frame{.logName = "zelGetTime",
                                     .lockedText = "[zelGetTime failed, pen is locked"};
    return frame.run(pen, {preset<uint64_t>(penTime, 0), preset<uint64_t>(systemTime, 0)}, [&] {
        const std::uint64_t penClock = readClock(*pen, property::PEN_TIME, "PEN_TIME");
        const std::uint64_t systemClock = readClock(*pen, property::SYSTEM_TIME, "SYSTEM_TIME");
        *penTime = penClock;
        *systemTime = systemClock;
        return ZEL_OK;
    });
}

uint32_t zelSetBluetoothEnabled(PenHandle *pen, uint8_t flag)
{
    return setFlag(kBluetoothEnabled, pen, flag);
}

uint32_t zelGetBluetoothEnabled(PenHandle *pen, uint8_t *flag)
{
    return getFlag(kBluetoothEnabled, pen, flag);
}

uint32_t zelSetBluetoothDiscoverableAllowed(PenHandle *pen, uint8_t flag)
{
    return setFlag(kBluetoothDiscoverable, pen, flag);
}

uint32_t zelGetBluetoothDiscoverableAllowed(PenHandle *pen, uint8_t *flag)
{
    return getFlag(kBluetoothDiscoverable, pen, flag);
}

uint32_t zelSetBluetoothPin(PenHandle *pen, const char *pin)
{
    static constexpr CallFrame frame{.logName = "zelSetBtPin"};
    return frame.run(pen, {}, [&] {
        if (pin == nullptr)
            return ZEL_ERR_INVALID_ARGUMENT;
        PspClient2 &psp = pen->psp();
        // The longest PIN depends on the pen, so two exchanges come before the test, whatever the PIN.
        if (!isPin(pin, longestPin(psp)))
            return ZEL_ERR_VALUE_OUT_OF_RANGE;
        psp.setValueProperty(property::BT_PIN, Value::createString(pin));
        return ZEL_OK;
    });
}

uint32_t zelGetBluetoothPin(PenHandle *pen, char **pin)
{
    static constexpr CallFrame frame{.logName = "zelGetBtPin"};
    // The output is not cleared: after a failure the host's pointer is unchanged.
    return frame.run(pen, {required(pin)}, [&] {
        const Value value = pen->psp().getValueProperty(property::BT_PIN);
        CopyOutString(isNull(value) ? "" : toText(value), pin);
        return ZEL_OK;
    });
}

uint32_t zelSetAutoPowerOff(PenHandle *pen, uint16_t value)
{
    return kAutoPowerOff.set.run(pen, {}, [&] {
        pen->psp().setValueProperty(kAutoPowerOff.property, Value::createShort(value));
        return ZEL_OK;
    });
}

uint32_t zelGetAutoPowerOff(PenHandle *pen, uint16_t *value)
{
    return getNumber(kAutoPowerOff, pen, value);
}

uint32_t zelSetWakeUpTime(PenHandle *pen, uint32_t seconds)
{
    return kWakeUpTime.set.run(pen, {}, [&] {
        if (!isWakeUpTime(seconds))
            return ZEL_ERR_VALUE_OUT_OF_RANGE;
        pen->psp().setValueProperty(kWakeUpTime.property, Value::createInt(seconds));
        return ZEL_OK;
    });
}

uint32_t zelGetWakeUpTime(PenHandle *pen, uint32_t *seconds)
{
    return getNumber(kWakeUpTime, pen, seconds);
}

uint32_t zelGetPenRevisions(PenHandle *pen, char **revision0, char **revision1, char **revision3,
                            char **revision5)
{
    static constexpr CallFrame frame{.logName = "zelGetPenRevisions"};
    // The outputs are not cleared: after a failure the host's pointers are unchanged.
    return frame.run(
        pen, {required(revision0), required(revision1), required(revision3), required(revision5)}, [&] {
            const Value value = pen->psp().getValueProperty(property::PEN_REVISIONS);
            const ValueList &revisions = value.getArray();
            elementAt(revisions, 6); // not used, but an answer without it is an error
            TextAllowance allowance(value);
            CopyOutStrings({{toText(elementAt(revisions, 0), allowance), revision0},
                            {toText(elementAt(revisions, 1), allowance), revision1},
                            {toText(elementAt(revisions, 3), allowance), revision3},
                            {toText(elementAt(revisions, 5), allowance), revision5}});
            return ZEL_OK;
        });
}
