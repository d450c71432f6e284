#include "pens/discovery_record.h"
#include "session/manager.h"
#include "support/connected_pen.h"
#include "support/log_capture.h"
#include "sys/byte_block.h"

#include "zel/zel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

using namespace zel;
using namespace zel::test;

void ignore(DiscoveryHandle *record, void *)
{
    zelFreeDiscoveryHandle(&record);
}

TEST(LibraryExports, ExitWithoutInitializeSucceeds)
{
    EXPECT_EQ(zelExit(), ZEL_OK);
}

TEST(LibraryExports, SecondInitializeIsRefused)
{
    const InitializedLibrary library;
    EXPECT_EQ(zelInitialize(ignore, ignore, nullptr), ZEL_ERR_ALREADY_INITIALIZED);
    // Being initialised comes before the callbacks.
    EXPECT_EQ(zelInitialize(nullptr, nullptr, nullptr), ZEL_ERR_ALREADY_INITIALIZED);
}

TEST(LibraryExports, NullCallbackLeavesTheLibraryUninitialised)
{
    EXPECT_EQ(zelInitialize(nullptr, ignore, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelInitialize(ignore, nullptr, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(manager(), nullptr);
    EXPECT_EQ(zelEnumeratePens(), ZEL_ERR_NOT_INITIALIZED);
}

TEST(LibraryExports, LibraryCanBeInitialisedAgainAfterExit)
{
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(zelInitialize(ignore, ignore, nullptr), ZEL_OK);
        EXPECT_NE(manager(), nullptr);
        EXPECT_EQ(zelEnumeratePens(), ZEL_OK);
        EXPECT_EQ(zelExit(), ZEL_OK);
        EXPECT_EQ(manager(), nullptr);
    }
}

TEST(LibraryExports, ApiVersionNeedsNoInitialize)
{
    HandedText text;
    EXPECT_EQ(zelGetApiVersion(text.out()), ZEL_OK);
    EXPECT_EQ(text.text(), "1.0.0.0_6");
    EXPECT_STREQ(ZEL_API_VERSION, "1.0.0.0_6");
    EXPECT_EQ(zelGetApiVersion(nullptr), ZEL_ERR_INVALID_ARGUMENT);
}

TEST(LibraryExports, FreeingANullPointerSucceeds)
{
    char *text = nullptr;
    uint8_t *data = nullptr;
    DiscoveryHandle *record = nullptr;
    EXPECT_EQ(zelFreeString(&text), ZEL_OK);
    EXPECT_EQ(zelFreePageList(&text), ZEL_OK);
    EXPECT_EQ(zelFreePageData(&data), ZEL_OK);
    EXPECT_EQ(zelFreeDiscoveryHandle(&record), ZEL_OK);
}

TEST(LibraryExports, FreeingThroughANullPointerIsRefused)
{
    EXPECT_EQ(zelFreeString(nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelFreePageList(nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelFreePageData(nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelFreeDiscoveryHandle(nullptr), ZEL_ERR_INVALID_ARGUMENT);
}

TEST(LibraryExports, FreeingNullsTheHostsPointer)
{
    char *text = reinterpret_cast<char *>(allocateBlock(3).release());
    char *list = reinterpret_cast<char *>(allocateBlock(3).release());
    auto *data = allocateBlock(3).release();
    DiscoveryHandle *record = new DiscoveryRecord;
    EXPECT_EQ(zelFreeString(&text), ZEL_OK);
    EXPECT_EQ(zelFreePageList(&list), ZEL_OK);
    EXPECT_EQ(zelFreePageData(&data), ZEL_OK);
    EXPECT_EQ(zelFreeDiscoveryHandle(&record), ZEL_OK);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(record, nullptr);
}

// All that may run beside a start and a stop.
TEST(LibraryExports, ReleasingGoesOnWhileTheLibraryStartsAndStops)
{
    std::atomic<bool> stopping = false;
    std::atomic<int> rounds = 0;
    std::thread host([&] {
        const DiscoveryRecord announced = arrivalAt(1, 0x0503);
        for (; !stopping; ++rounds) {
            char *text = nullptr;
            EXPECT_EQ(zelGetApiVersion(&text), ZEL_OK);
            EXPECT_EQ(zelFreeString(&text), ZEL_OK);
            char *list = reinterpret_cast<char *>(allocateBlock(1).release());
            EXPECT_EQ(zelFreePageList(&list), ZEL_OK);
            auto *data = allocateBlock(1).release();
            EXPECT_EQ(zelFreePageData(&data), ZEL_OK);
            DiscoveryHandle *record = new DiscoveryRecord;
            EXPECT_EQ(zelFreeDiscoveryHandle(&record), ZEL_OK);
            std::uint8_t mode = 1;
            EXPECT_EQ(zelDfuGetMode(&announced, &mode), ZEL_OK);
        }
    });
    for (int starts = 0; starts < 5 || rounds < 50; ++starts) {
        EXPECT_EQ(zelInitialize(ignore, ignore, nullptr), ZEL_OK);
        EXPECT_EQ(zelExit(), ZEL_OK);
    }
    stopping = true;
    host.join();
}

TEST(LibraryExports, RecordShowsKindAndPenIdAtFixedOffsets)
{
    DiscoveryRecord record;
    record.kind = ZEL_PEN_DEPARTED;
    record.penId = 0x0102030405060708;
    const auto *bytes =
        reinterpret_cast<const unsigned char *>(static_cast<const DiscoveryHandle *>(&record));
    EXPECT_EQ(bytes, reinterpret_cast<const unsigned char *>(&record));
    EXPECT_EQ(bytes[0], 1);
    EXPECT_EQ(bytes[8], 8);
}

TEST(LibraryExports, DevicePenSerialIsThatOfTheRecord)
{
    const InitializedLibrary library;
    DiscoveryRecord record;
    record.serial = kPenSerial;
    HandedText text;
    EXPECT_EQ(zelGetDevicePenSerial(&record, text.out()), ZEL_OK);
    EXPECT_EQ(text.text(), kPenSerial);
}

TEST(LibraryExports, DevicePenSerialFailsWithANullText)
{
    char left[] = "left over";
    char *text = left;
    const DiscoveryRecord record{};
    EXPECT_EQ(zelGetDevicePenSerial(&record, &text), ZEL_ERR_NOT_INITIALIZED);
    EXPECT_EQ(text, nullptr);
    const InitializedLibrary library;
    text = left;
    EXPECT_EQ(zelGetDevicePenSerial(nullptr, &text), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(zelGetDevicePenSerial(&record, nullptr), ZEL_ERR_INVALID_ARGUMENT);
}

/** The ids are written with either code. */
TEST(LibraryExports, VidAndPidOfAnOlderPenAreWrittenButNotSupported)
{
    const InitializedLibrary library;
    DiscoveryRecord record;
    record.vendorId = 0x1209;
    record.productId = 0x0001;
    const auto ask = [&](std::uint16_t softwareVersion) {
        record.swVersion = softwareVersion;
        uint16_t vendorId = 0;
        uint16_t productId = 0;
        const uint32_t code = zelGetDeviceVidAndPid(&record, &vendorId, &productId);
        EXPECT_EQ(vendorId, 0x1209);
        EXPECT_EQ(productId, 0x0001);
        return code;
    };
    EXPECT_EQ(ask(0x0502), ZEL_ERR_NOT_SUPPORTED);
    EXPECT_EQ(ask(0x0503), ZEL_OK);
    EXPECT_EQ(ask(0x8000), ZEL_ERR_NOT_SUPPORTED); // negative as a signed number
}

TEST(LibraryExports, VidAndPidRefuseNulls)
{
    const DiscoveryRecord record{};
    uint16_t id = 7;
    EXPECT_EQ(zelGetDeviceVidAndPid(&record, &id, &id), ZEL_ERR_NOT_INITIALIZED);
    const InitializedLibrary library;
    EXPECT_EQ(zelGetDeviceVidAndPid(nullptr, &id, &id), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelGetDeviceVidAndPid(&record, nullptr, &id), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelGetDeviceVidAndPid(&record, &id, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(id, 7);
}

TEST(LibraryExports, ExportsWithoutPenLogNothingOfTheirOwn)
{
    const LogCapture log;
    HandedText text;
    zelGetApiVersion(text.out());
    zelFreeString(text.out());
    zelExit();
    EXPECT_TRUE(log.entries().empty());
}

} // namespace
