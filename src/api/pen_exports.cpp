#include "api/call_frame.h"
#include "api/copy_out.h"
#include "pens/discovery_record.h"
#include "pens/usb_devices.h"
#include "protocol/values/value_convert.h"
#include "psp/property_ids.h"
#include "session/manager.h"
#include "session/pen_handle.h"

#include "zel/zel.h"

using namespace zel;

namespace {

/** Does not ask a locked pen, which would not answer. A pen whose lock status cannot be read counts as
 *  locked. */
uint32_t readSoftwareVersion(PenHandle *pen)
{
    static constexpr CallFrame frame{
        .logName = "zelConnectPen",
        .entryMark = CallFrame::kNoMark,
        .connectionText = "[zelConnectPen] failed to get pen software version.",
        .lockedText = "[zelConnectPen] failed failed to get pen software version, pen is locked"};
    return frame.run(pen, {}, [&] {
        std::uint8_t locked = 1;
        zelGetPenLockedStatus(pen, &locked);
        if (locked != 0)
            return ZEL_OK;
        const Value answer = pen->psp().getValueProperty(property::PEN_SOFTWARE_VERSION);
        if (pen->softwareVersion == 0)
            pen->softwareVersion = toNumber<std::uint16_t>(answer);
        return ZEL_OK;
    });
}

} // namespace

uint32_t zelConnectPen(const DiscoveryHandle *record, PenHandle **pen)
{
    // Exceptions get their own result codes only once the pen is connected, in readSoftwareVersion().
    static constexpr CallFrame frame{
        .logName = "zelConnectPen", .entryMark = CallFrame::kNoMark, .catches = Catches::Nothing};
    return frame.run({required(record), required(pen)}, [&] {
        if (record->kind != ZEL_PEN_ARRIVED)
            return ZEL_ERR_INVALID_ARGUMENT;
        const DiscoveryRecord &announced = recordOf(*record);
        if (!IsSupportedUsbDevice(announced.vendorId, announced.productId))
            return ZEL_ERR_DEVICE_NOT_SUPPORTED;

        *pen = nullptr;       // so that the host may disconnect even if there is no memory for a handle
        *pen = new PenHandle; // the host owns it from here on, also when connecting fails
        PenHandle &handle = **pen;
        handle.penId = announced.penId;
        handle.softwareVersion = announced.swVersion;
        handle.serial = announced.serial;
        handle.client = manager()->connectPen(announced.serviceAddress, announced.servicePort);
        return readSoftwareVersion(&handle);
    });
}

uint32_t zelDisconnectPen(PenHandle **pen)
{
    static constexpr CallFrame frame{
        .logName = "zelDisconnectPen", .entryMark = CallFrame::kNoMark, .catches = Catches::Nothing};
    return frame.run({required(pen)}, [&] {
        if (*pen == nullptr)
            return ZEL_OK;
        manager()->disconnectPen(**pen);
        delete *pen;
        *pen = nullptr;
        return ZEL_OK;
    });
}

uint32_t zelGetPenSerial(PenHandle *pen, char **text)
{
    static constexpr CallFrame frame{.logName = "zelGetPenSerial", .catches = Catches::Nothing};
    return frame.run(pen, {cleared(text)}, [&] {
        CopyOutString(pen->serial, text);
        return ZEL_OK;
    });
}

uint32_t zelGetPenProductName(PenHandle *pen, char **text)
{
    static constexpr CallFrame frame{.logName = "zelGetPenProductName", .entryMark = CallFrame::kNoMark};
    return frame.run(pen, {cleared(text)}, [&] {
        const Value name = pen->psp().getValueProperty(property::PEN_BRAND);
        if (isNull(name))
            return ZEL_ERR_INVALID_ARGUMENT;
        CopyOutString(toText(name), text);
        return ZEL_OK;
    });
}
