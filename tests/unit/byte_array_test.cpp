#include "protocol/bytes/byte_array.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

using zel::ByteArray;

TEST(ByteArray, StartsWithoutData)
{
    const ByteArray array;
    EXPECT_EQ(array.size(), 0u);
    EXPECT_EQ(array.data(), nullptr);
}

TEST(ByteArray, ResizeGivesZeroBytes)
{
    ByteArray array;
    const std::array<std::uint8_t, 3> old = {1, 2, 3};
    array.assign(old.data(), 3);
    array.resize(100);
    ASSERT_EQ(array.size(), 100u);
    EXPECT_TRUE(std::all_of(array.data(), array.data() + 100, [](std::uint8_t byte) { return byte == 0; }));
}

TEST(ByteArray, ResizeToNothingDropsTheBlock)
{
    ByteArray array;
    array.resize(4);
    array.resize(0);
    EXPECT_EQ(array.size(), 0u);
    EXPECT_EQ(array.data(), nullptr);
}

TEST(ByteArray, ResizeForOverwriteHasTheSizeAskedFor)
{
    ByteArray array;
    array.resizeForOverwrite(7);
    EXPECT_EQ(array.size(), 7u);
}

TEST(ByteArray, AssignCopiesTheBytes)
{
    ByteArray array;
    const std::array<std::uint8_t, 3> bytes = {1, 2, 3};
    array.assign(bytes.data(), 3);
    ASSERT_EQ(array.size(), 3u);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), array.data()));
    EXPECT_NE(array.data(), bytes.data());
}

TEST(ByteArray, AssignOfNothingHoldsNothing)
{
    ByteArray array;
    array.assign(nullptr, 0);
    EXPECT_EQ(array.size(), 0u);
}

TEST(ByteArray, ReleaseHandsOutTheBlockAndForgetsIt)
{
    ByteArray array;
    const std::array<std::uint8_t, 3> bytes = {1, 2, 3};
    array.assign(bytes.data(), 3);
    const std::uint8_t *const held = array.data();
    const zel::ByteBlock block = array.release();
    EXPECT_EQ(block.get(), held);
    EXPECT_EQ(block[2], 3);
    EXPECT_EQ(array.size(), 0u);
    EXPECT_EQ(array.data(), nullptr);
}

TEST(ByteArray, AdoptTakesTheBlockOver)
{
    zel::ByteBlock block = zel::allocateBlock(2);
    const std::uint8_t *const given = block.get();
    ByteArray array;
    array.adopt(std::move(block), 2);
    EXPECT_EQ(array.data(), given);
    EXPECT_EQ(array.size(), 2u);
}
