#include "protocol/values/value_text.h"

#include "protocol/values/value_decoder.h"
#include "support/value_tree.h"
#include "support/wire.h"

#include <gtest/gtest.h>

using namespace zel;
using namespace zel::test;

TEST(ValueText, TypesWithoutContentsShowTheirNameAlone)
{
    EXPECT_EQ(textOf(Value::createNull()), "(null) ");
    EXPECT_EQ(textOf(Value::createTerminator()), "(terminator) ");
}

TEST(ValueText, BoolsAreWords)
{
    EXPECT_EQ(textOf(Value::createBool(true)), "(bool) true");
    EXPECT_EQ(textOf(Value::createBool(false)), "(bool) false");
}

TEST(ValueText, BytesAreUnsignedAllOtherNumbersSigned)
{
    EXPECT_EQ(textOf(Value::createByte(255)), "(byte) 255");
    EXPECT_EQ(textOf(Value::createShort(0xFFFF)), "(short16) -1");
    EXPECT_EQ(textOf(Value::createShort(0x7FFF)), "(short16) 32767");
    EXPECT_EQ(textOf(Value::createInt(7)), "(int32) 7");
    EXPECT_EQ(textOf(Value::createInt(0xFFFFFFFF)), "(int32) -1");
    EXPECT_EQ(textOf(Value::createLong(0x8000000000000000)), "(long64) -9223372036854775808");
    EXPECT_EQ(textOf(Value::createLong(0x7FFFFFFFFFFFFFFF)), "(long64) 9223372036854775807");
}

TEST(ValueText, StringsAreQuoted)
{
    EXPECT_EQ(textOf(Value::createString("a \"b\"")), "(string) \"a \"b\"\"");
    EXPECT_EQ(textOf(Value::createString("")), "(string) \"\"");
}

TEST(ValueText, BytesAreHexadecimalWithoutLeadingZeros)
{
    EXPECT_EQ(textOf(binaryOf({0x00, 0x0A, 0xFF})), "(binary) 0 A FF (3 bytes)");
    EXPECT_EQ(textOf(binaryOf({})), "(binary) (0 bytes)");
    EXPECT_EQ(textOf(escapedBinaryOf({0x10, 0xC0})), "(escaped binary) 10 C0 (2 bytes)");
}

TEST(ValueText, OnlyTheFirstTenBytesAreShown)
{
    EXPECT_EQ(textOf(binaryOf(Bytes(10, 0xAB))), "(binary) AB AB AB AB AB AB AB AB AB AB (10 bytes)");
    EXPECT_EQ(textOf(binaryOf({1, 2, 3, 4, 5, 6, 7, 8, 9, 0xA, 0xB})),
              "(binary) 1 2 3 4 5 6 7 8 9 A ... (11 bytes)");
}

TEST(ValueText, ArrayElementsStandOnLinesOfTheirOwn)
{
    EXPECT_EQ(textOf(valueArray(Value::createBool(true))), "(value array) 1\n"
                                                           "    (bool) true");
    EXPECT_EQ(textOf(Value::createDataArray({}, 3)), "(data array) 0");
    EXPECT_EQ(textOf(Value::createTerminatedArray(elements(Value::createByte(1), Value::createNull()))),
              "(terminated array) 2\n"
              "    (byte) 1\n"
              "    (null) ");
}

TEST(ValueText, NestedArraysAreIndentedByFourBlanksPerLevel)
{
    const auto array = valueArray(valueArray(Value::createByte(1)), Value::createByte(2));
    EXPECT_EQ(textOf(array), "(value array) 2\n"
                             "    (value array) 1\n"
                             "        (byte) 1\n"
                             "    (byte) 2");
    std::string indented;
    array.toString(indented, 1);
    EXPECT_EQ(indented, "(value array) 2\n"
                        "        (value array) 1\n"
                        "            (byte) 1\n"
                        "        (byte) 2");
}

TEST(ValueText, OtherCodesAreUnknown)
{
    EXPECT_EQ(textOf(Value::createBare(ValueType::AnyType)), "(any type) unknown");
    EXPECT_EQ(textOf(Value::createBare(static_cast<ValueType>(12))), "(unknown) unknown");
    EXPECT_EQ(textOf(Value::createBare(static_cast<ValueType>(77))), "(unknown) unknown");
}

TEST(ValueText, AbsentElementsShowAsAnyType)
{
    EXPECT_EQ(textOf(valueArray(Value())), "(value array) 1\n"
                                           "    (any type) unknown");
}

TEST(ValueText, ToStringReplacesAndAppendToAppends)
{
    std::string text = "before";
    Value::createByte(1).toString(text);
    EXPECT_EQ(text, "(byte) 1");
    Value::createByte(2).appendTo(text);
    EXPECT_EQ(text, "(byte) 1(byte) 2");
}

TEST(ValueText, EncodedValueIsShownInBrackets)
{
    EXPECT_EQ(textOf(binaryOf({0x04, 0x00, 0x00, 0x00, 0x05})), "[(int32) 5]");
    EXPECT_EQ(textOf(binaryOf({0x04, 0x00, 0x00, 0x00, 0x05, 0x99})), "(binary) 4 0 0 0 5 99 (6 bytes)");
    EXPECT_EQ(textOf(escapedBinaryOf({0x00})), "(escaped binary) 0 (1 bytes)");
}

TEST(ValueText, EncodedValueInsideAnArrayStartsItsOwnIndentation)
{
    const Bytes encoded = {0x08,        // value array
                           0x00, 0x01,  // count
                           0x02, 0x07}; // byte 7
    EXPECT_EQ(textOf(valueArray(valueArray(binaryOf(encoded)))), "(value array) 1\n"
                                                                 "    (value array) 1\n"
                                                                 "        [(value array) 1\n"
                                                                 "    (byte) 7]");
}

TEST(ValueText, EncodedArraysOfEveryKindAreShownFromTheirBytes)
{
    const Bytes encoded = {
        0x08, 0x00, 0x08,                                     // value array of eight
        0x01, 0x00,                                           // bool false
        0x03, 0xFF, 0xFE,                                     // short16 -2
        0x05, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFD, // long64 -3
        0x06, 0x00, 0x04, 0x61, 0x62, 0x00, 0x63,             // string ending at its first zero
        0x09, 0x00, 0x02, 0x00,                               // data array of two nulls
        0x0A, 0x02, 0x05, 0x0A, 0x0F, 0x0B,                   // terminated array of a byte and an empty one
        0x0E, 0x01, 0xDB, 0xDC, 0xDB, 0xDD, 0xC0,             // escaped binary of three bytes
        0x0F,                                                 // any type
    };
    EXPECT_EQ(textOf(binaryOf(encoded)), "[(value array) 8\n"
                                         "    (bool) false\n"
                                         "    (short16) -2\n"
                                         "    (long64) -3\n"
                                         "    (string) \"ab\"\n"
                                         "    (data array) 2\n"
                                         "        (null) \n"
                                         "        (null) \n"
                                         "    (terminated array) 2\n"
                                         "        (byte) 5\n"
                                         "        (terminated array) 0\n"
                                         "    (escaped binary) 1 C0 DB (3 bytes)\n"
                                         "    (any type) unknown]");
}

TEST(ValueText, EncodedValuesInEncodedValuesEachGetTheirBrackets)
{
    const Bytes encoded = {
        0x0A,                               // terminated array
        0x07, 0x00, 0x00, 0x00, 0x06,       // binary of six bytes:
        0x0A, 0x0A, 0x00, 0x0B, 0x0B, 0xFF, //   no encoded value, a byte is left over
        0x07, 0x00, 0x00, 0x00, 0x05,       // binary of five bytes:
        0x0A, 0x0A, 0x00, 0x0B, 0x0B,       //   a terminated array in a terminated array
        0x0A, 0x02, 0x01, 0x02, 0x02, 0x0B, // terminated array of two bytes
        0x0B,                               // terminator
    };
    EXPECT_EQ(textOf(binaryOf(encoded)), "[(terminated array) 3\n"
                                         "    (binary) A A 0 B B FF (6 bytes)\n"
                                         "    [(terminated array) 1\n"
                                         "    (terminated array) 1\n"
                                         "        (null) ]\n"
                                         "    (terminated array) 2\n"
                                         "        (byte) 1\n"
                                         "        (byte) 2]");
}

TEST(ValueText, LongEncodedEscapedBinaryShowsTenBytes)
{
    EXPECT_EQ(textOf(binaryOf(Bytes{0x0E} + Bytes(12, 0x01) + Bytes{0xC0})),
              "[(escaped binary) 1 1 1 1 1 1 1 1 1 1 ... (12 bytes)]");
}

// What is shown from bytes must be what the decoded tree shows, for every sequence of three bytes.
TEST(ValueText, EncodedValueShowsWhatItsTreeShows)
{
    int encodedValues = 0;
    for (unsigned bits = 0; bits < 0x100000; ++bits) {
        const Bytes bytes = {static_cast<std::uint8_t>(bits >> 16), static_cast<std::uint8_t>(bits >> 8),
                             static_cast<std::uint8_t>(bits)};
        const auto binary = binaryOf(bytes);
        if (!binary.isEncodedValue())
            continue;
        ++encodedValues;
        ASSERT_EQ(textOf(binary), "[" + textOf(decodeValue(bytes)) + "]") << bits;
    }
    EXPECT_GT(encodedValues, 0x10000); // the short16 values alone
}

namespace {

constexpr std::size_t kDeep = 200000;

/** Values in each other, each inside a binary that the front bytes introduce. */
Bytes nestedBinaries(const Bytes &front, std::size_t levels)
{
    const Bytes core = {0x02, 0x07};
    const std::size_t perLevel = front.size() + 5;
    Bytes bytes;
    bytes.reserve(levels * perLevel + core.size());
    for (std::size_t left = levels; left-- > 0;) {
        bytes.insert(bytes.end(), front.begin(), front.end());
        bytes.push_back(0x07);
        for (const std::uint8_t byte : wire::bigEndian(left * perLevel + core.size(), 4))
            bytes.push_back(byte);
    }
    bytes.insert(bytes.end(), core.begin(), core.end());
    return bytes;
}

} // namespace

TEST(ValueText, BinariesNestedWithoutEndNeedNoStack)
{
    const std::string text = textOf(binaryOf(nestedBinaries({}, kDeep)));
    std::string expected(kDeep + 1, '[');
    expected += "(byte) 7";
    expected.append(kDeep + 1, ']');
    EXPECT_TRUE(text == expected);
}

TEST(ValueText, ArraysInNestedBinariesNeedNoStack)
{
    const std::string text = textOf(binaryOf(nestedBinaries({0x08, 0x00, 0x01}, kDeep)));
    const std::string level = "[(value array) 1\n    ";
    EXPECT_EQ(text.size(), kDeep * (level.size() + 1) + std::string("[(byte) 7]").size());
    EXPECT_EQ(text.substr(0, 2 * level.size()), level + level);
    EXPECT_EQ(text.substr(text.size() - kDeep - 11, 13), " [(byte) 7]]]");
}
