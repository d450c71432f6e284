#include "sys/byte_block.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>
#include <vector>

namespace {

// The largest ones have pages of their own.
constexpr std::size_t kSizes[] = {0, 1, 24, 1024, 8192, 65536, 200000, 3000000};

void fill(zel::ByteBlock &block, std::size_t size, std::size_t seed)
{
    for (std::size_t i = 0; i < size; ++i)
        block[i] = static_cast<std::uint8_t>(i * 7 + seed);
}

bool holds(const zel::ByteBlock &block, std::size_t size, std::size_t seed)
{
    for (std::size_t i = 0; i < size; ++i)
        if (block[i] != static_cast<std::uint8_t>(i * 7 + seed))
            return false;
    return true;
}

TEST(ByteBlock, BlocksOfAllSizesAreAlignedAndApart)
{
    std::vector<zel::ByteBlock> blocks;
    for (const std::size_t size : kSizes) {
        blocks.push_back(zel::allocateBlock(size));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(blocks.back().get()) % alignof(std::max_align_t), 0u);
        fill(blocks.back(), size, blocks.size());
    }
    for (std::size_t i = 0; i < blocks.size(); ++i)
        EXPECT_TRUE(holds(blocks[i], kSizes[i], i + 1)) << kSizes[i];
}

TEST(ByteBlock, ResizingKeepsWhatFitsFromEverySizeToEvery)
{
    for (const std::size_t from : kSizes) {
        for (const std::size_t to : kSizes) {
            zel::ByteBlock block = zel::allocateBlock(from);
            fill(block, from, 3);
            zel::resizeBlock(block, to);
            EXPECT_TRUE(holds(block, std::min(from, to), 3)) << from << " to " << to;
            fill(block, to, 4);
        }
    }
}

TEST(ByteBlock, ResizingNoBlockAllocatesOne)
{
    for (const std::size_t size : kSizes) {
        zel::ByteBlock block;
        zel::resizeBlock(block, size);
        ASSERT_TRUE(block);
        fill(block, size, 5);
    }
}

// Sanitizers end the program when the C heap is asked for what cannot be had.
#ifndef ZEL_SANITIZED

TEST(ByteBlock, AnImpossibleSizeThrowsBadAlloc)
{
    constexpr std::size_t kLimit = std::numeric_limits<std::size_t>::max();
    EXPECT_THROW(zel::allocateBlock(kLimit), std::bad_alloc);
    EXPECT_THROW(zel::allocateBlock(kLimit - 15), std::bad_alloc);
}

TEST(ByteBlock, AFailedResizeLeavesTheBlockAsItWas)
{
    for (const std::size_t size : kSizes) {
        zel::ByteBlock block = zel::allocateBlock(size);
        fill(block, size, 6);
        EXPECT_THROW(zel::resizeBlock(block, std::numeric_limits<std::size_t>::max() / 4), std::bad_alloc);
        EXPECT_TRUE(holds(block, size, 6)) << size;
    }
}

#endif

} // namespace
