#include "allocation_watch.h"

#include "sys/byte_block.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>

namespace faults {

namespace {

/** A block by each of the ways in which the library takes memory. */
struct Taken {
    std::unique_ptr<int> object = std::make_unique<int>(1);
    zel::ByteBlock small = zel::allocateBlock(10);
    zel::ByteBlock large = zel::allocateBlock(100000);
};

} // namespace

TEST(AllocationWatch, BlocksAreNotedUntilTheyAreReleased)
{
    const std::size_t before = outstandingAllocations();
    {
        std::optional<Taken> taken;
        {
            const AllocationWatch watch;
            taken.emplace();
        }
        EXPECT_EQ(outstandingAllocations(), before + 3);
        const auto unwatched = std::make_unique<int>(2);
        EXPECT_EQ(outstandingAllocations(), before + 3);
    }
    EXPECT_EQ(outstandingAllocations(), before);
}

TEST(AllocationWatch, EachWayToTakeMemoryCanFail)
{
    for (std::size_t n = 1; n <= 3; ++n) {
        const AllocationWatch watch;
        failAllocation(n, Memory::FailsOnce);
        EXPECT_THROW(Taken(), std::bad_alloc);
        EXPECT_TRUE(allocationHasFailed());
    }
    const AllocationWatch watch;
    failAllocation(4, Memory::FailsOnce);
    EXPECT_NO_THROW(Taken());
    EXPECT_FALSE(allocationHasFailed());
}

TEST(MemoryMeter, AddsUpWhatIsTakenInEachWayUntilItIsReleased)
{
    const MemoryMeter meter;
    {
        const Taken taken;
        EXPECT_GE(meter.held(), sizeof(int) + 10 + 100000);
        EXPECT_LT(meter.held(), 120000u);
    }
    EXPECT_EQ(meter.held(), 0u);
    EXPECT_GE(meter.peak(), sizeof(int) + 10 + 100000);
}

TEST(MemoryMeter, ABlockThatGrowsCountsWithItsNewSize)
{
    const MemoryMeter meter;
    zel::ByteBlock block = zel::allocateBlock(100000);
    zel::resizeBlock(block, 1000000);
    EXPECT_GE(meter.held(), 1000000u);
    EXPECT_LT(meter.held(), 1050000u);
}

} // namespace faults
