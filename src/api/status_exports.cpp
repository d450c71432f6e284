#include "api/call_frame.h"
#include "protocol/values/value_convert.h"
#include "psp/property_ids.h"
#include "session/pen_handle.h"
#include "sys/log.h"

using namespace zel;

uint32_t zelGetMemoryStatus(PenHandle *pen, uint64_t *used, uint64_t *total)
{
    static constexpr CallFrame frame{.logName = "zelGetMemoryStatus"};
    constexpr std::uint64_t kUnknown = ~std::uint64_t{0};
    return frame.run(pen, {preset(used, kUnknown), preset(total, kUnknown)}, [&] {
        PspClient2 &psp = pen->psp();
        const Value free = psp.getValueProperty(property::PEN_FREE_MEMORY);
        const Value range = psp.getValueProperty(property::PEN_PROPERTIES_RANGE);
        const std::uint64_t size = toNumber<std::uint32_t>(elementAt(range.getArray(), 7));
        // If the pen reports more free memory than it has, this wraps to a very large number.
        *used = size - toNumber<std::uint64_t>(free);
        *total = size;
        return ZEL_OK;
    });
}

uint32_t zelGetBatteryStatus(PenHandle *pen, uint16_t *value0, uint16_t *value1, uint16_t *value2,
                             uint16_t *value3, uint16_t *value4)
{
    static constexpr CallFrame frame{.logName = "zelGetBatteryStatus"};
    constexpr std::uint16_t kUnknown = 0xFFFF;
    return frame.run(pen,
                     {preset(value0, kUnknown), preset(value1, kUnknown), preset(value2, kUnknown),
                      preset(value3, kUnknown), preset(value4, kUnknown)},
                     [&] {
                         PspClient2 &psp = pen->psp();
                         const Value battery = psp.getValueProperty(property::BATTERY_LEVEL_VERBOSE);
                         const ValueList &levels = battery.getArray();
                         const Value &last = elementAt(levels, 4);
                         // Not used, but an answer with fewer than two elements is an error.
                         const Value range = psp.getValueProperty(property::PEN_PROPERTIES_RANGE);
                         elementAt(range.getArray(), 1);
                         *value0 = toNumber<std::uint16_t>(elementAt(levels, 0));
                         *value1 = toNumber<std::uint16_t>(elementAt(levels, 1));
                         *value2 = toNumber<std::uint16_t>(elementAt(levels, 2));
                         *value3 = toNumber<std::uint16_t>(elementAt(levels, 3));
                         *value4 = toNumber<std::uint16_t>(last);
                         return ZEL_OK;
                     });
}

uint32_t zelGetSecureDeleteEnabled(PenHandle *pen, uint8_t *flag)
{
    static constexpr CallFrame frame{.logName = "zelGetSecureDeleteEnabled", .minVersion = 0x0502};
    return frame.run(pen, {required(flag)}, [&] {
        // Cleared here and not by preset(): for a pen with older software the output stays unchanged.
        *flag = 0;
        const Value value = pen->psp().getValueProperty(property::SEC_SDE);
        const bool enabled = toNumber<std::uint64_t>(value) != 0;
        const char *text = isNull(value) ? "null" : enabled ? "true" : "false";
        LogInfo("Read 'Secure delete enabled' from pen: Value: ", text);
        *flag = enabled; // last, so that the output is 0 after a failure
        return ZEL_OK;
    });
}
