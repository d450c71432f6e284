#include "pens/usb_devices.h"

#include "usb_device_table.h"

#include <gtest/gtest.h>

namespace {

using zel::IsSupportedUsbDevice;

TEST(UsbDevices, PenThatAnnouncedNoIdsIsAccepted)
{
    EXPECT_EQ(zel::kSupportedUsbDevices.front().vendorId, 0);
    EXPECT_EQ(zel::kSupportedUsbDevices.front().productId, 0);
    EXPECT_TRUE(IsSupportedUsbDevice(0, 0));
}

TEST(UsbDevices, EveryRowIsAccepted)
{
    for (const zel::UsbDevice &device : zel::kSupportedUsbDevices)
        EXPECT_TRUE(IsSupportedUsbDevice(device.vendorId, device.productId));
}

TEST(UsbDevices, BothIdsMustMatchTheSameRow)
{
    EXPECT_FALSE(IsSupportedUsbDevice(0, 0x0001));
    EXPECT_FALSE(IsSupportedUsbDevice(zel::kSupportedUsbDevices.back().vendorId, 0));
    EXPECT_FALSE(IsSupportedUsbDevice(0xffff, 0xffff));
}

} // namespace
