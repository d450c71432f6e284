#include "pens/usb_devices.h"

#include "usb_device_table.h"

#include <algorithm>

namespace zel {

static_assert(kSupportedUsbDevices.front().vendorId == 0 && kSupportedUsbDevices.front().productId == 0,
              "the first row admits a pen that announced neither id");

bool IsSupportedUsbDevice(std::uint16_t vendorId, std::uint16_t productId) noexcept
{
    return std::ranges::any_of(kSupportedUsbDevices, [&](const UsbDevice &device) {
        return device.vendorId == vendorId && device.productId == productId;
    });
}

} // namespace zel
