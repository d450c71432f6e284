#include "protocol/values/value_convert.h"

#include "support/value_tree.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

using namespace zel;
using namespace zel::test;

TEST(ValueConvert, NumbersAreZeroExtended)
{
    EXPECT_EQ(toNumber<std::uint64_t>(Value::createBool(true)), 1u);
    EXPECT_EQ(toNumber<std::uint64_t>(Value::createByte(0xFF)), 0xFFu);
    EXPECT_EQ(toNumber<std::uint64_t>(Value::createShort(0xFFFF)), 0xFFFFu);
    EXPECT_EQ(toNumber<std::uint64_t>(Value::createInt(0xFFFFFFFF)), 0xFFFFFFFFu);
    EXPECT_EQ(toNumber<std::uint64_t>(Value::createLong(0xFEDCBA9876543210)), 0xFEDCBA9876543210u);
}

TEST(ValueConvert, NumbersAreCutToTheWidthAskedFor)
{
    const auto value = Value::createLong(0xFEDCBA9876543210);
    EXPECT_EQ(toNumber<std::uint32_t>(value), 0x76543210u);
    EXPECT_EQ(toNumber<std::uint16_t>(value), 0x3210u);
    EXPECT_EQ(toNumber<std::uint8_t>(value), 0x10u);
}

TEST(ValueConvert, WhatIsNoNumberCountsAsZero)
{
    EXPECT_EQ(toNumber<std::uint32_t>(Value()), 0u);
    EXPECT_EQ(toNumber<std::uint32_t>(Value::createNull()), 0u);
    EXPECT_EQ(toNumber<std::uint32_t>(Value::createString("7")), 0u);
    EXPECT_EQ(toNumber<std::uint32_t>(binaryOf({7})), 0u);
    EXPECT_EQ(toNumber<std::uint32_t>(valueArray(Value::createInt(7))), 0u);
    EXPECT_EQ(toNumber<std::uint32_t>(Value::createTerminator()), 0u);
}

TEST(ValueConvert, TextsOfStringsAreTheirOwnOthersTheirTextForm)
{
    EXPECT_EQ(toText(Value::createString("hello")), "hello");
    EXPECT_EQ(toText(Value()), "");
    EXPECT_EQ(toText(Value::createInt(7)), "(int32) 7");
    EXPECT_EQ(toText(Value::createNull()), "(null) ");
}

namespace {

/** So many nulls, each on a line of a thousand blanks. */
Value nullsDeepInside(std::size_t count)
{
    ValueList nulls;
    for (std::size_t i = 0; i < count; ++i)
        nulls.push_back(Value::createNull());
    auto value = Value::createDataArray(std::move(nulls), 0);
    for (int level = 0; level < 249; ++level)
        value = valueArray(std::move(value));
    return value;
}

} // namespace

TEST(ValueConvert, TextOutOfProportionToTheBytesOfItsValueIsRefused)
{
    EXPECT_GT(toText(nullsDeepInside(5000)).size(), 5000u * 1000);
    EXPECT_THROW(toText(nullsDeepInside(6000)), ZELException);
}

TEST(ValueConvert, TextsOfOneAnswerShareItsAllowance)
{
    const auto answer = valueArray(nullsDeepInside(2500), nullsDeepInside(2500), nullsDeepInside(2500));
    TextAllowance allowance(answer);
    const ValueList &items = answer.getArray();
    EXPECT_NO_THROW(toText(items[0], allowance));
    EXPECT_NO_THROW(toText(items[1], allowance));
    EXPECT_THROW(toText(items[2], allowance), ZELException);
}

TEST(ValueConvert, NullIsAbsentOrOfTypeNull)
{
    EXPECT_TRUE(isNull(Value()));
    EXPECT_TRUE(isNull(Value::createNull()));
    EXPECT_FALSE(isNull(Value::createInt(0)));
    EXPECT_FALSE(isNull(Value::createString("")));
}

TEST(ValueConvert, NonZeroIsANumberOtherThanZeroOrAnythingElseThatIsThere)
{
    EXPECT_FALSE(isNonZero(Value()));
    EXPECT_FALSE(isNonZero(Value::createNull()));
    EXPECT_FALSE(isNonZero(Value::createBool(false)));
    EXPECT_FALSE(isNonZero(Value::createByte(0)));
    EXPECT_FALSE(isNonZero(Value::createShort(0)));
    EXPECT_FALSE(isNonZero(Value::createInt(0)));
    EXPECT_FALSE(isNonZero(Value::createLong(0)));
    EXPECT_TRUE(isNonZero(Value::createBool(true)));
    EXPECT_TRUE(isNonZero(Value::createLong(std::uint64_t{1} << 63)));
    EXPECT_TRUE(isNonZero(Value::createString("")));
    EXPECT_TRUE(isNonZero(binaryOf({})));
    EXPECT_TRUE(isNonZero(valueArray()));
}
