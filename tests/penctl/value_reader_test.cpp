#include "pagedata/value_reader.h"

#include <gtest/gtest.h>

#include "page_data_bytes.h"
#include "pagedata/format_error.h"

namespace penctl {
namespace {

FileValue valueOf(const Bytes &bytes)
{
    return parse(fileWithValue(bytes)).properties.at(0).value;
}

std::string damageOf(const Bytes &bytes)
{
    try {
        valueOf(bytes);
    } catch (const FormatError &error) {
        return error.what();
    }
    return "none";
}

const std::vector<FileValue> &elementsOf(const FileValue &value)
{
    return std::get<std::vector<FileValue>>(value.content);
}

Bytes nested(std::size_t depth)
{
    Bytes bytes;
    for (std::size_t i = 0; i < depth; ++i)
        bytes.insert(bytes.end(), {0x08, 0x00, 0x01}); // value array of one
    bytes.push_back(0x00);                             // null
    return bytes;
}

} // namespace

TEST(ValueReader, ScalarsKeepTheirSign)
{
    struct Row {
        Bytes bytes;
        int64_t number;
    };
    const Row rows[] = {
        {{0x02, 0xFF}, 255},
        {{0x03, 0x7F, 0xFF}, 32767},
        {{0x03, 0xFF, 0xFF}, -1},
        {{0x04, 0x00, 0x00, 0x00, 0x07}, 7},
        {{0x04, 0x80, 0x00, 0x00, 0x00}, -2147483648},
        {{0x05, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00}, 4294967296},
        {{0x05, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, -1},
    };
    for (const Row &row : rows)
        EXPECT_EQ(std::get<int64_t>(valueOf(row.bytes).content), row.number);
}

TEST(ValueReader, AnyByteButZeroIsTrue)
{
    EXPECT_FALSE(std::get<bool>(valueOf({0x01, 0x00}).content));
    EXPECT_TRUE(std::get<bool>(valueOf({0x01, 0x01}).content));
    EXPECT_TRUE(std::get<bool>(valueOf({0x01, 0x80}).content));
}

TEST(ValueReader, TypesWithoutBodyHoldNothing)
{
    for (const uint8_t code : Bytes{0x00, 0x0B, 0x0F}) {
        const FileValue value = valueOf({code});
        EXPECT_EQ(static_cast<uint8_t>(value.type), code);
        EXPECT_TRUE(std::holds_alternative<std::monostate>(value.content));
    }
}

TEST(ValueReader, StringEndsAtItsFirstZero)
{
    EXPECT_EQ(std::get<std::string>(valueOf({0x06, 0x00, 0x04, 'a', 'b', 'c', 0x00}).content), "abc");
    EXPECT_EQ(std::get<std::string>(valueOf({0x06, 0x00, 0x04, 'a', 0x00, 'c', 0x00}).content), "a");
    EXPECT_EQ(std::get<std::string>(valueOf({0x06, 0x00, 0x01, 0x00}).content), "");
}

TEST(ValueReader, StringWithoutZeroIsTakenWhole)
{
    EXPECT_EQ(std::get<std::string>(valueOf({0x06, 0x00, 0x02, 'a', 'b'}).content), "ab");
    EXPECT_EQ(std::get<std::string>(valueOf({0x06, 0x00, 0x00}).content), "");
}

TEST(ValueReader, BinaryKeepsSizeAndFirstBytes)
{
    Bytes bytes = {0x07, 0x00, 0x00, 0x00, 0x12}; // binary of 18 bytes
    for (uint8_t i = 0; i < 18; ++i)
        bytes.push_back(i);
    const auto binary = std::get<FileBinary>(valueOf(bytes).content);
    EXPECT_EQ(binary.size, 18u);
    EXPECT_EQ(binary.start, std::string("\0\1\2\3\4\5\6\7\10\11\12\13\14\15\16\17", 16));
}

TEST(ValueReader, ForgedBinaryLengthIsRefused)
{
    EXPECT_EQ(damageOf({0x07, 0xFF, 0xFF, 0xFF, 0xFF, 0x00}),
              "byte 33: a binary should take 16 bytes, but only 1 is left");
    EXPECT_NE(damageOf(joined({{0x07, 0xFF, 0xFF, 0xFF, 0xFF}, Bytes(20)})), "none");
}

TEST(ValueReader, EscapedBinaryIsUnescaped)
{
    const auto binary = std::get<FileBinary>(valueOf({0x0E, 0xDB, 0xDC, 0xDB, 0xDD, 0x41, 0xC0}).content);
    EXPECT_EQ(binary.size, 3u);
    EXPECT_EQ(binary.start, "\xC0\xDB\x41");
    EXPECT_EQ(std::get<FileBinary>(valueOf({0x0E, 0xC0}).content).size, 0u);
}

TEST(ValueReader, WrongEscapeIsRefused)
{
    EXPECT_EQ(damageOf({0x0E, 0xDB, 0x41, 0xC0}), "byte 30: 41 after an escape in an escaped binary");
}

TEST(ValueReader, UnknownTypesAreRefused)
{
    EXPECT_EQ(damageOf({0x0C}), "byte 28: there is no value type 12");
    EXPECT_EQ(damageOf({0x0D}), "byte 28: there is no value type 13");
    EXPECT_EQ(damageOf({0x10}), "byte 28: there is no value type 16");
    EXPECT_EQ(damageOf({0xFF}), "byte 28: there is no value type 255");
}

TEST(ValueReader, ValueArrayHoldsItsElementsInOrder)
{
    const FileValue value = valueOf({0x08, 0x00, 0x02,   // two elements
                                     0x02, 0x05,         // byte 5
                                     0x08, 0x00, 0x00}); // an empty array
    ASSERT_EQ(elementsOf(value).size(), 2u);
    EXPECT_EQ(std::get<int64_t>(elementsOf(value)[0].content), 5);
    EXPECT_EQ(elementsOf(value)[1].type, ValueType::ValueArray);
}

TEST(ValueReader, DataArrayNamesItsTypeOnce)
{
    const FileValue value = valueOf({0x09, 0x00, 0x02, // two elements
                                     0x03,             // short16
                                     0x00, 0x01, 0x00, 0x02});
    ASSERT_EQ(elementsOf(value).size(), 2u);
    EXPECT_EQ(std::get<int64_t>(elementsOf(value)[1].content), 2);
    EXPECT_TRUE(elementsOf(valueOf({0x09, 0x00, 0x00, 0x00})).empty());
}

TEST(ValueReader, TerminatedArrayEndsAtTerminatorOrAnyType)
{
    EXPECT_EQ(elementsOf(valueOf({0x0A, 0x04, 0x00, 0x00, 0x00, 0x05, 0x0B})).size(), 1u);
    EXPECT_TRUE(elementsOf(valueOf({0x0A, 0x0B})).empty());
    EXPECT_TRUE(elementsOf(valueOf({0x0A, 0x0F})).empty());
}

TEST(ValueReader, ArrayCountBeyondTheFileIsRefused)
{
    EXPECT_NE(damageOf({0x08, 0xFF, 0xFF, 0x00}), "none");
    EXPECT_NE(damageOf({0x09, 0xFF, 0xFF, 0x05, 0x00}), "none");
    EXPECT_NE(damageOf({0x0A, 0x00, 0x00}), "none");
}

TEST(ValueReader, NestingIsBounded)
{
    EXPECT_EQ(elementsOf(valueOf(nested(256))).size(), 1u);
    EXPECT_EQ(damageOf(nested(257)), "byte 797: arrays nested more than 256 deep");
    EXPECT_NE(damageOf(nested(100'000)), "none");
}

TEST(ValueReader, SiblingsDoNotCountAsNesting)
{
    Bytes bytes = {0x08, 0x01, 0x2C}; // 300 elements
    for (int i = 0; i < 300; ++i)
        bytes.insert(bytes.end(), {0x08, 0x00, 0x00}); // an empty array each
    EXPECT_EQ(elementsOf(valueOf(bytes)).size(), 300u);
}

/** Each of the sixteen announces 65,535 elements that take no bytes; with the arrays themselves that is one
 * too many. */
TEST(ValueReader, NumberOfValuesIsBounded)
{
    Bytes bytes = {0x08, 0x00, 0x10}; // 16 elements
    for (int i = 0; i < 16; ++i)
        bytes.insert(bytes.end(), {0x09, 0xFF, 0xFF, 0x00}); // data array of 65,535 nulls
    EXPECT_EQ(damageOf(bytes), "byte 95: more than 1048576 values");
}

} // namespace penctl
