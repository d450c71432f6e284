// The functions that start, stop and release, when the memory runs out.
#include "allocation_watch.h"
#include "every_allocation.h"
#include "support/process_counts.h"

#include "pens/discovery_record.h"
#include "support/connected_pen.h"
#include "sys/byte_block.h"
#include "sys/event.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <ostream>

namespace faults {

namespace {

void freeRecord(DiscoveryHandle *record, void *)
{
    zelFreeDiscoveryHandle(&record);
}

std::uint32_t initialise()
{
    return zelInitialize(freeRecord, freeRecord, nullptr);
}

std::uint32_t initialiseDfu()
{
    return zelDfuInit(nullptr, freeRecord, freeRecord);
}

/** A function that starts a listener, and its counterparts. */
struct Start {
    const char *name;
    std::uint32_t (*before)();
    std::uint32_t (*start)();
    std::uint32_t (*exit)();
};

void PrintTo(const Start &start, std::ostream *out)
{
    *out << start.name;
}

std::uint32_t nothing()
{
    return ZEL_OK;
}

const Start kStarts[] = {
    {"zelInitialize", nothing, initialise, zelExit},
    {"zelEnumeratePens", initialise, zelEnumeratePens, zelExit},
    {"zelDfuInit", nothing, initialiseDfu, zelDfuExit},
};

std::uint32_t callWithout(std::size_t n, Memory memory, const std::function<std::uint32_t()> &call)
{
    const AllocationWatch watch;
    failAllocation(n, memory);
    return call();
}

class FailingStart : public testing::TestWithParam<Start>
{
protected:
    FailingStart()
    {
        EXPECT_EQ(GetParam().before(), ZEL_OK);
        EXPECT_EQ(GetParam().start(), ZEL_OK);
        EXPECT_EQ(GetParam().exit(), ZEL_OK);
        m_processBefore = zel::test::countProcess();
        m_allocationsBefore = outstandingAllocations();
    }

    void checkEveryAllocation(Memory memory)
    {
        EXPECT_NE(failEveryAllocation([&](std::size_t n) { return check(n, memory); }), 0u);
    }

private:
    /** Whether there was an n-th allocation. */
    bool check(std::size_t n, Memory memory)
    {
        EXPECT_EQ(GetParam().before(), ZEL_OK);
        const std::uint32_t code = callWithout(n, memory, GetParam().start);
        const bool failed = allocationHasFailed();
        if (failed)
            EXPECT_TRUE(code == ZEL_ERR_UNEXPECTED || code == ZEL_ERR_INVALID_ARGUMENT) << code;
        else
            EXPECT_EQ(code, ZEL_OK);
        EXPECT_EQ(GetParam().exit(), ZEL_OK);
        EXPECT_EQ(zel::test::countProcess(m_processBefore), m_processBefore);
        EXPECT_EQ(outstandingAllocations(), m_allocationsBefore);

        EXPECT_EQ(GetParam().before(), ZEL_OK);
        EXPECT_EQ(GetParam().start(), ZEL_OK);
        EXPECT_EQ(GetParam().exit(), ZEL_OK);
        return failed;
    }

    zel::test::ProcessCounts m_processBefore;
    std::size_t m_allocationsBefore = 0;
};

} // namespace

TEST_P(FailingStart, OfWhichThereIsOne)
{
    checkEveryAllocation(Memory::FailsOnce);
}

TEST_P(FailingStart, AfterWhichAllFail)
{
    checkEveryAllocation(Memory::StaysShort);
}

INSTANTIATE_TEST_SUITE_P(Starts, FailingStart, testing::ValuesIn(kStarts),
                         [](const auto &start) { return start.param.name; });

// Who has no memory must be able to give some back.
TEST(MemoryThatIsShort, ReleasingNeedsNone)
{
    zel::test::ScriptedPen service;
    service.always("R1GL", zel::test::wire::result(zel::test::wire::boolean(true)));
    const zel::DiscoveryRecord record = zel::test::arrivalOf(service, 0x0503);
    EXPECT_EQ(initialise(), ZEL_OK);
    EXPECT_EQ(initialiseDfu(), ZEL_OK);
    char *text = nullptr;
    char *list = reinterpret_cast<char *>(zel::allocateBlock(10).release());
    std::uint8_t *data = zel::allocateBlock(10).release();
    DiscoveryHandle *own = new zel::DiscoveryRecord(record);
    PenHandle *pen = nullptr;
    DfuPenHandle *dfu = nullptr;
    EXPECT_EQ(zelGetApiVersion(&text), ZEL_OK);
    EXPECT_EQ(zelConnectPen(&record, &pen), ZEL_OK);
    EXPECT_EQ(zelDfuConnectPen(&dfu, &record), ZEL_OK);

    const std::function<std::uint32_t()> calls[] = {
        [&] { return zelFreeString(&text); },
        [&] { return zelFreePageList(&list); },
        [&] { return zelFreePageData(&data); },
        [&] { return zelFreeDiscoveryHandle(&own); },
        [&] { return zelDisconnectPen(&pen); },
        [&] { return zelDfuDisconnectPen(&dfu); },
        [&] { return zelExit(); },
        [&] { return zelDfuExit(); },
    };
    for (const auto &call : calls) {
        EXPECT_EQ(callWithout(1, Memory::StaysShort, call), ZEL_OK);
        EXPECT_FALSE(allocationHasFailed());
    }
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(own, nullptr);
    EXPECT_EQ(pen, nullptr);
    EXPECT_EQ(dfu, nullptr);
}

// What is refused before anything is made asks for no memory, and leaves none behind.
TEST(MemoryThatIsShort, RefusedConnectNeedsNone)
{
    const zel::test::InitializedLibrary library;
    EXPECT_EQ(initialiseDfu(), ZEL_OK);
    zel::DiscoveryRecord departure;
    departure.kind = ZEL_PEN_DEPARTED;
    zel::DiscoveryRecord unknownDevice;
    unknownDevice.kind = ZEL_PEN_ARRIVED; // which the record itself leaves open
    unknownDevice.vendorId = 0x1234;
    PenHandle *pen = nullptr;
    DfuPenHandle *dfu = nullptr;
    const struct {
        std::function<std::uint32_t()> call;
        std::uint32_t code;
    } refused[] = {
        {[&] { return zelConnectPen(&departure, &pen); }, ZEL_ERR_INVALID_ARGUMENT},
        {[&] { return zelConnectPen(nullptr, &pen); }, ZEL_ERR_INVALID_ARGUMENT},
        {[&] { return zelConnectPen(&unknownDevice, &pen); }, ZEL_ERR_DEVICE_NOT_SUPPORTED},
        {[&] { return zelDfuConnectPen(&dfu, &departure); }, ZEL_ERR_INVALID_ARGUMENT},
        {[&] { return zelDfuConnectPen(&dfu, nullptr); }, ZEL_ERR_INVALID_ARGUMENT},
    };
    for (const auto &[call, code] : refused) {
        EXPECT_EQ(callWithout(1, Memory::StaysShort, call), code);
        EXPECT_FALSE(allocationHasFailed());
    }
    EXPECT_EQ(pen, nullptr);
    EXPECT_EQ(dfu, nullptr);
    EXPECT_EQ(zelDfuExit(), ZEL_OK);
}

namespace {

[[noreturn]] void destroyFirstEventWithoutMemory()
{
    auto event = std::make_unique<zel::LEvent>(true, false);
    const AllocationWatch watch;
    failAllocation(1, Memory::StaysShort);
    event.reset();
    std::_Exit(allocationHasFailed() ? 1 : 0);
}

} // namespace

// In a process that has not used one yet: all events share a lock.
TEST(MemoryThatIsShortDeathTest, EndOfTheFirstEventNeedsNone)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(destroyFirstEventWithoutMemory(), testing::ExitedWithCode(0), "");
}

// What a record tells is in it.
TEST(MemoryThatIsShort, NumbersOfARecordNeedNone)
{
    const zel::test::InitializedLibrary library;
    zel::DiscoveryRecord record;
    record.swVersion = 0x0503;
    record.vendorId = 0x1209;
    record.dfu = 1;
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
    std::uint8_t mode = 0;
    EXPECT_EQ(callWithout(1, Memory::StaysShort,
                          [&] { return zelGetDeviceVidAndPid(&record, &vendorId, &productId); }),
              ZEL_OK);
    EXPECT_FALSE(allocationHasFailed());
    EXPECT_EQ(vendorId, 0x1209);
    EXPECT_EQ(callWithout(1, Memory::StaysShort, [&] { return zelDfuGetMode(&record, &mode); }), ZEL_OK);
    EXPECT_FALSE(allocationHasFailed());
    EXPECT_EQ(mode, 1);
}

} // namespace faults
