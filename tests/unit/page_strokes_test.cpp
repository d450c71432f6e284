#include "pages/page_strokes.h"

#include "support/value_tree.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

using namespace zel;
using namespace zel::test;

TEST(PenPageStrokes, StartsWithoutStrokes)
{
    PenPageStrokes strokes;
    EXPECT_FALSE(strokes.hasStrokes());
    EXPECT_EQ(strokes.byteSize(), 0u);
    EXPECT_TRUE(strokes.strokes().isAbsent());
    EXPECT_EQ(strokes.address(), PageAddress());
}

TEST(PenPageStrokes, TakesADeepCopyOfBorrowedStrokes)
{
    const auto value = binaryOf(std::vector<std::uint8_t>(100, 7));
    PenPageStrokes strokes;
    strokes.setAddress(PageAddress("1.2.3.4"));
    strokes.setStrokes(value);
    EXPECT_EQ(strokes.address(), PageAddress("1.2.3.4"));
    EXPECT_TRUE(strokes.hasStrokes());
    EXPECT_EQ(strokes.byteSize(), 100u);
    EXPECT_NE(strokes.strokes().getBinary(nullptr), value.getBinary(nullptr));
    EXPECT_TRUE(sameTree(strokes.strokes(), value));
}

TEST(PenPageStrokes, TakesOverOwnedStrokesAndGivesThemBack)
{
    auto value = escapedBinaryOf(std::vector<std::uint8_t>(100, 7));
    const std::uint8_t *const given = value.getBinary(nullptr);
    PenPageStrokes strokes(PageAddress("1.2.3.4"), std::move(value));
    EXPECT_EQ(strokes.strokes().getBinary(nullptr), given);
    EXPECT_EQ(strokes.byteSize(), 100u);
    strokes.setStrokes(strokes.takeStrokes());
    EXPECT_EQ(strokes.takeStrokes().getBinary(nullptr), given);
    EXPECT_FALSE(strokes.hasStrokes());
}

TEST(PenPageStrokes, StrokesThatAreNoBytesHaveNoSize)
{
    const PenPageStrokes strokes(PageAddress(), Value::createInt(0));
    EXPECT_THROW(strokes.byteSize(), ZELException);
}

TEST(StrokesList, KeepsTheOrderOfRetrieval)
{
    StrokesList list;
    for (std::uint64_t raw = 3; raw > 0; --raw)
        list.emplace_back(PageAddress(raw), Value::createNull());
    EXPECT_EQ(list.front().address().raw(), 3u);
    EXPECT_EQ(list.back().address().raw(), 1u);
}
