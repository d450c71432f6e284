#include "protocol/values/value_convert.h"

#include "support/value_tree.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

using namespace zel;
using namespace zel::test;

TEST(ValueConvert, NumbersAreZeroExtended)
{
    EXPECT_EQ(toNumber<std::uint64_t>(Value::createBool(true).get()), 1u);
    EXPECT_EQ(toNumber<std::uint64_t>(Value::createByte(0xFF).get()), 0xFFu);
    EXPECT_EQ(toNumber<std::uint64_t>(Value::createShort(0xFFFF).get()), 0xFFFFu);
    EXPECT_EQ(toNumber<std::uint64_t>(Value::createInt(0xFFFFFFFF).get()), 0xFFFFFFFFu);
    EXPECT_EQ(toNumber<std::uint64_t>(Value::createLong(0xFEDCBA9876543210).get()), 0xFEDCBA9876543210u);
}

TEST(ValueConvert, NumbersAreCutToTheWidthAskedFor)
{
    const auto value = Value::createLong(0xFEDCBA9876543210);
    EXPECT_EQ(toNumber<std::uint32_t>(value.get()), 0x76543210u);
    EXPECT_EQ(toNumber<std::uint16_t>(value.get()), 0x3210u);
    EXPECT_EQ(toNumber<std::uint8_t>(value.get()), 0x10u);
}

TEST(ValueConvert, WhatIsNoNumberCountsAsZero)
{
    EXPECT_EQ(toNumber<std::uint32_t>(nullptr), 0u);
    EXPECT_EQ(toNumber<std::uint32_t>(Value::createNull().get()), 0u);
    EXPECT_EQ(toNumber<std::uint32_t>(Value::createString("7").get()), 0u);
    EXPECT_EQ(toNumber<std::uint32_t>(binaryOf({7}).get()), 0u);
    EXPECT_EQ(toNumber<std::uint32_t>(valueArray(Value::createInt(7)).get()), 0u);
    EXPECT_EQ(toNumber<std::uint32_t>(Value::createTerminator().get()), 0u);
}

TEST(ValueConvert, TextsOfStringsAreTheirOwnOthersTheirTextForm)
{
    EXPECT_EQ(toText(Value::createString("hello").get()), "hello");
    EXPECT_EQ(toText(nullptr), "");
    EXPECT_EQ(toText(Value::createInt(7).get()), "(int32) 7");
    EXPECT_EQ(toText(Value::createNull().get()), "(null) ");
}

namespace {

/** So many nulls, each on a line of a thousand blanks. */
std::unique_ptr<Value> nullsDeepInside(std::size_t count)
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
    EXPECT_GT(toText(nullsDeepInside(5000).get()).size(), 5000u * 1000);
    EXPECT_THROW(toText(nullsDeepInside(6000).get()), ZELException);
}

TEST(ValueConvert, TextsOfOneAnswerShareItsAllowance)
{
    const auto answer = valueArray(nullsDeepInside(2500), nullsDeepInside(2500), nullsDeepInside(2500));
    TextAllowance allowance(answer.get());
    const ValueList &items = answer->getArray();
    EXPECT_NO_THROW(toText(items[0].get(), allowance));
    EXPECT_NO_THROW(toText(items[1].get(), allowance));
    EXPECT_THROW(toText(items[2].get(), allowance), ZELException);
}

TEST(ValueConvert, ListsAreTheElementsOfAnyArray)
{
    const auto array = Value::createTerminatedArray(elements(Value::createByte(1)));
    EXPECT_EQ(&toList(array.get()), &array->getArray());
    EXPECT_THROW(toList(nullptr), ZELException);
    EXPECT_THROW(toList(Value::createNull().get()), ZELException);
    EXPECT_THROW(toList(Value::createInt(1).get()), ZELException);
}

TEST(ValueConvert, NullIsAbsentOrOfTypeNull)
{
    EXPECT_TRUE(isNull(nullptr));
    EXPECT_TRUE(isNull(Value::createNull().get()));
    EXPECT_FALSE(isNull(Value::createInt(0).get()));
    EXPECT_FALSE(isNull(Value::createString("").get()));
}

TEST(ValueConvert, NonZeroIsANumberOtherThanZeroOrAnythingElseThatIsThere)
{
    EXPECT_FALSE(isNonZero(nullptr));
    EXPECT_FALSE(isNonZero(Value::createNull().get()));
    EXPECT_FALSE(isNonZero(Value::createBool(false).get()));
    EXPECT_FALSE(isNonZero(Value::createByte(0).get()));
    EXPECT_FALSE(isNonZero(Value::createShort(0).get()));
    EXPECT_FALSE(isNonZero(Value::createInt(0).get()));
    EXPECT_FALSE(isNonZero(Value::createLong(0).get()));
    EXPECT_TRUE(isNonZero(Value::createBool(true).get()));
    EXPECT_TRUE(isNonZero(Value::createLong(std::uint64_t{1} << 63).get()));
    EXPECT_TRUE(isNonZero(Value::createString("").get()));
    EXPECT_TRUE(isNonZero(binaryOf({}).get()));
    EXPECT_TRUE(isNonZero(valueArray().get()));
}
