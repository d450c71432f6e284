#include "commands/page_data_view.h"

#include <gtest/gtest.h>

#include "failure.h"

namespace penctl {
namespace {

using Bytes = std::vector<uint8_t>;

/** A file without pages, with one property of this value. */
zelpp::PageData fileWith(const Bytes &value)
{
    Bytes file = {
        0x01, 0x00,                                     // version 1.0
        0x00, 0x18,                                     // header length 24
        0x00, 0x0F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, // page address *.*.*.* (first field 0)
        0x02, 0x25,                                     // pidget 549
        0x00, 0x0F,                                     // page header length 15
        0x00, 0x02,                                     // page entry header length
        0x00, 0x02,                                     // entry header length
        0x00, 0x01,                                     // value header length
        0x00, 0x00,                                     // pages
        0x00, 0x01,                                     // properties
        0x00, 0x24,                                     // PEN_BRAND
    };
    file.insert(file.end(), value.begin(), value.end());
    return zelpp::PageData::parse(file);
}

std::string shown(const Bytes &value, NumberStyle style = NumberStyle::Decimal)
{
    const zelpp::PageData data = fileWith(value);
    ValueView view;
    return view.text(data.properties().front().value, style);
}

std::string json(const Bytes &value)
{
    const zelpp::PageData data = fileWith(value);
    ValueView view;
    return view.json(data.properties().front().value).dump();
}

/** A binary of so many bytes 01. */
Bytes binary(uint8_t size)
{
    Bytes value = {0x07, 0x00, 0x00, 0x00, size};
    value.insert(value.end(), size, 0x01);
    return value;
}

} // namespace

TEST(ValueText, ScalarsReadAsTheyAre)
{
    EXPECT_EQ(shown({0x00}), "null");
    EXPECT_EQ(shown({0x01, 0x01}), "true");
    EXPECT_EQ(shown({0x03, 0xFF, 0xFF}), "-1");
    EXPECT_EQ(shown({0x06, 0x00, 0x07, 'a', 0x1B, '[', '2', 'J', 'b', 0x00}), "\"a\\x1b[2Jb\"");
}

TEST(ValueText, HexadecimalHasTheWidthOfTheType)
{
    EXPECT_EQ(shown({0x02, 0x07}, NumberStyle::Hexadecimal), "0x07");
    EXPECT_EQ(shown({0x03, 0xFF, 0xFF}, NumberStyle::Hexadecimal), "0xffff");
    EXPECT_EQ(shown({0x04, 0xFF, 0xFF, 0xFF, 0xFE}, NumberStyle::Hexadecimal), "0xfffffffe");
    EXPECT_EQ(shown({0x05, 0x00, 0x00, 0x01, 0x23, 0x00, 0xAB, 0xCD, 0xEF}, NumberStyle::Hexadecimal),
              "0x0000012300abcdef");
}

TEST(ValueText, TimesReadAsDates)
{
    EXPECT_EQ(shown({0x05, 0, 0, 0, 0, 0, 0, 0, 0}, NumberStyle::Time), "1970-01-01 00:00:00.000 UTC");
}

TEST(ValueText, BinariesShowSizeAndFirstBytes)
{
    EXPECT_EQ(shown(binary(0)), "0 bytes");
    EXPECT_EQ(shown(binary(2)), "2 bytes: 01 01");
    EXPECT_EQ(shown(binary(17)), "17 bytes: 01 01 01 01 01 01 01 01 01 01 01 01 01 01 01 01 ...");
    EXPECT_EQ(shown({0x0E, 0x01, 0xDB, 0xDC, 0xC0}), "2 bytes: 01 c0");
}

TEST(ValueText, LongArraysAreCut)
{
    EXPECT_EQ(shown({0x08, 0x00, 0x00}), "[]");
    EXPECT_EQ(shown({0x08, 0x00, 0x02, 0x06, 0x00, 0x02, 'a', 0x00, 0x08, 0x00, 0x01, 0x02, 0x01}),
              "[\"a\", [1]]");
    EXPECT_EQ(shown({0x09, 0x00, 0x11, 0x00}),
              "[null, null, null, null, null, null, null, null, null, null, null, "
              "null, null, null, null, null, ... (17 elements)]");
}

TEST(ValueText, ValuesThatTakeNoBytesAreBounded)
{
    Bytes arrays = {0x08, 0x00, 0x11}; // 17 arrays
    for (int i = 0; i < 17; ++i)
        arrays.insert(arrays.end(), {0x09, 0xFF, 0xFF, 0x00}); // 65,535 nulls each
    EXPECT_THROW(json(arrays), Failure);
}

TEST(ValueText, JsonNamesTheType)
{
    EXPECT_EQ(json({0x00}), R"({"type":"null","value":null})");
    EXPECT_EQ(json({0x04, 0xFF, 0xFF, 0xFF, 0xFE}), R"({"type":"int32","value":-2})");
    EXPECT_EQ(json({0x07, 0x00, 0x00, 0x00, 0x02, 0x01, 0xFF}),
              R"({"type":"binary","size":2,"start":"01ff"})");
    EXPECT_EQ(json({0x08, 0x00, 0x01, 0x06, 0x00, 0x02, 'a', 0x00}),
              R"({"type":"value array","value":[{"type":"string","value":"a"}]})");
}

} // namespace penctl
