#include "allocation_watch.h"

#include "protocol/byte_block.h"

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

} // namespace faults
