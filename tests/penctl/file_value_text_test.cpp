#include "commands/file_value_text.h"

#include <gtest/gtest.h>

namespace penctl {
namespace {

FileValue number(ValueType type, int64_t value)
{
    return {type, value};
}

FileValue text(const std::string &value)
{
    return {ValueType::String, value};
}

FileValue array(std::vector<FileValue> elements)
{
    return {ValueType::ValueArray, std::move(elements)};
}

std::string plain(const FileValue &value)
{
    return valueText(value, NumberStyle::Decimal);
}

} // namespace

TEST(FileValueText, ScalarsReadAsTheyAre)
{
    EXPECT_EQ(plain({ValueType::Null, {}}), "null");
    EXPECT_EQ(plain({ValueType::Bool, true}), "true");
    EXPECT_EQ(plain(number(ValueType::Short16, -1)), "-1");
    EXPECT_EQ(plain(text("a\x1b[2Jb")), "\"a\\x1b[2Jb\"");
}

TEST(FileValueText, HexadecimalHasTheWidthOfTheType)
{
    EXPECT_EQ(valueText(number(ValueType::Byte, 7), NumberStyle::Hexadecimal), "0x07");
    EXPECT_EQ(valueText(number(ValueType::Short16, -1), NumberStyle::Hexadecimal), "0xffff");
    EXPECT_EQ(valueText(number(ValueType::Int32, -2), NumberStyle::Hexadecimal), "0xfffffffe");
    EXPECT_EQ(valueText(number(ValueType::Long64, 0x12300ABCDEF), NumberStyle::Hexadecimal),
              "0x0000012300abcdef");
}

TEST(FileValueText, TimesReadAsDates)
{
    EXPECT_EQ(valueText(number(ValueType::Long64, 0), NumberStyle::Time), "1970-01-01 00:00:00.000 UTC");
}

TEST(FileValueText, BinariesShowSizeAndFirstBytes)
{
    EXPECT_EQ(plain({ValueType::Binary, FileBinary{"", 0}}), "0 bytes");
    EXPECT_EQ(plain({ValueType::Binary, FileBinary{"\x01\xff", 2}}), "2 bytes: 01 ff");
    EXPECT_EQ(plain({ValueType::Binary, FileBinary{"\x01\xff", 1000}}), "1,000 bytes: 01 ff ...");
}

TEST(FileValueText, LongArraysAreCut)
{
    EXPECT_EQ(plain(array({})), "[]");
    EXPECT_EQ(plain(array({text("a"), array({number(ValueType::Byte, 1)})})), "[\"a\", [1]]");
    EXPECT_EQ(plain(array(std::vector<FileValue>(17, number(ValueType::Byte, 0)))),
              "[0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, ... (17 elements)]");
}

TEST(FileValueText, JsonNamesTheType)
{
    EXPECT_EQ(valueJson({ValueType::Null, {}}).dump(), R"({"type":"null","value":null})");
    EXPECT_EQ(valueJson(number(ValueType::Int32, -2)).dump(), R"({"type":"int32","value":-2})");
    EXPECT_EQ(valueJson({ValueType::Binary, FileBinary{"\x01\xff", 3}}).dump(),
              R"({"type":"binary","size":3,"start":"01ff"})");
    EXPECT_EQ(valueJson(array({text("a")})).dump(),
              R"({"type":"value array","value":[{"type":"string","value":"a"}]})");
}

} // namespace penctl
