#include "sys/growing_block.h"

#include "support/wire.h"

#include <gtest/gtest.h>

#include <algorithm>

using zel::ByteBlock;
using zel::GrowingBlock;
using zel::test::Bytes;

TEST(GrowingBlock, StartsEmpty)
{
    GrowingBlock block;
    EXPECT_EQ(block.size(), 0u);
    block.append({});
    EXPECT_EQ(block.size(), 0u);
}

TEST(GrowingBlock, KeepsWhatWasAppendedHoweverItGrows)
{
    GrowingBlock block;
    Bytes expected;
    for (std::size_t length = 1; length < 3000; length += 7) {
        const Bytes piece(length, static_cast<std::uint8_t>(length));
        block.append(piece);
        expected.insert(expected.end(), piece.begin(), piece.end());
    }
    ASSERT_EQ(block.size(), expected.size());
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), block.data()));
}

TEST(GrowingBlock, RoomCountsOnlyWhenItIsFilled)
{
    GrowingBlock block;
    block.append(Bytes{1, 2});
    std::uint8_t *const room = block.room(100);
    EXPECT_EQ(block.size(), 2u);
    EXPECT_EQ(room, block.data() + 2);
    room[0] = 3;
    block.added(1);
    EXPECT_EQ(block.size(), 3u);
    EXPECT_EQ(block.room(99), block.data() + 3) << "room that is there does not move the block";
}

TEST(GrowingBlock, ReleaseHandsOutTheBlockAndForgetsIt)
{
    GrowingBlock block;
    block.append(Bytes{1, 2, 3});
    block.room(1000);
    const ByteBlock released = block.release();
    EXPECT_EQ(Bytes(released.get(), released.get() + 3), (Bytes{1, 2, 3}));
    EXPECT_EQ(block.size(), 0u);
    block.append(Bytes{4});
    EXPECT_EQ(*block.data(), 4);
}
