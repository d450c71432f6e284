#include "protocol/encoded_value_scan.h"

#include "protocol/byte_source.h"
#include "protocol/value_decoder.h"
#include "protocol/value_format.h"
#include "support/wire.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

#include <random>

using namespace zel;
using namespace zel::test;

namespace {

/** The answer of the decoder itself. */
bool decodesToExactlyOneValue(const Bytes &bytes)
{
    try {
        ByteSource source(bytes);
        const auto value = ValueDecoder(source, VALUE_HEADER_LENGTH).decode();
        return value != nullptr && source.taken() == bytes.size();
    } catch (const ZELException &) {
        return false;
    }
}

Bytes repeated(const Bytes &bytes, std::size_t count)
{
    Bytes all;
    for (std::size_t i = 0; i < count; ++i)
        all.insert(all.end(), bytes.begin(), bytes.end());
    return all;
}

} // namespace

TEST(EncodedValueScan, AgreesWithTheDecoderOnEveryTwoBytes)
{
    for (unsigned bits = 0; bits < 0x10000; ++bits) {
        const Bytes bytes = {static_cast<std::uint8_t>(bits >> 8), static_cast<std::uint8_t>(bits)};
        ASSERT_EQ(isOneEncodedValue(bytes), decodesToExactlyOneValue(bytes)) << bits;
    }
    for (unsigned byte = 0; byte < 256; ++byte) {
        const Bytes bytes = {static_cast<std::uint8_t>(byte)};
        ASSERT_EQ(isOneEncodedValue(bytes), decodesToExactlyOneValue(bytes)) << byte;
    }
    EXPECT_FALSE(isOneEncodedValue({}));
}

// Bytes are drawn from those that mean something to the codec, so that many sequences are values.
TEST(EncodedValueScan, AgreesWithTheDecoderOnRandomBytes)
{
    const Bytes alphabet = {0x00, 0x00, 0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08,
                            0x09, 0x0A, 0x0B, 0x0C, 0x0E, 0x0F, 0xC0, 0xDB, 0xDC, 0xDD};
    std::mt19937 random(20240607);
    int accepted = 0;
    for (int i = 0; i < 100000; ++i) {
        Bytes bytes(random() % 12 + 1);
        for (std::uint8_t &byte : bytes)
            byte = alphabet[random() % alphabet.size()];
        const bool decodes = decodesToExactlyOneValue(bytes);
        accepted += decodes ? 1 : 0;
        ASSERT_EQ(isOneEncodedValue(bytes), decodes) << testing::PrintToString(bytes);
        std::vector<std::uint32_t> counts = {99};
        ASSERT_EQ(scanEncodedValue(bytes, counts), decodes);
        ASSERT_EQ(counts.front(), 99u);
        ASSERT_TRUE(decodes || counts.size() == 1);
    }
    EXPECT_GT(accepted, 1000);
}

TEST(EncodedValueScan, CountsOfTerminatedArraysComeLastFirst)
{
    std::vector<std::uint32_t> counts = {99};
    EXPECT_TRUE(scanEncodedValue(
        Bytes{
            0x0A,                   // first array: three elements
            0x0A, 0x00, 0x00, 0x0B, // second: two
            0x00,                   //
            0x0A, 0x0F,             // third: none
            0x0B,                   // the first one's end
        },
        counts));
    EXPECT_EQ(counts, (std::vector<std::uint32_t>{99, 0, 2, 3}));
}

TEST(EncodedValueScan, NestingEndsWhereTheDecodersEnds)
{
    for (const std::size_t depth : {255u, 256u, 257u, 300u}) {
        const Bytes valueArrays = repeated({0x08, 0x00, 0x01}, depth) + Bytes{0x00};
        EXPECT_EQ(isOneEncodedValue(valueArrays), depth <= 256);
        EXPECT_EQ(decodesToExactlyOneValue(valueArrays), depth <= 256);
        const Bytes terminatedArrays = repeated({0x0A}, depth) + repeated({0x0B}, depth);
        EXPECT_EQ(isOneEncodedValue(terminatedArrays), depth <= 256);
        const Bytes dataArrays =
            Bytes{0x09} + repeated({0x00, 0x01, 0x09}, depth - 1) + Bytes{0x00, 0x01, 0x00};
        EXPECT_EQ(isOneEncodedValue(dataArrays), depth <= 256);
        EXPECT_EQ(decodesToExactlyOneValue(dataArrays), depth <= 256);
    }
}

TEST(EncodedValueScan, ElementsWithoutABodyAreBoundedAsInTheDecoder)
{
    const auto arraysOf = [](std::uint8_t type, std::size_t arrays) {
        return Bytes{0x08} + wire::bigEndian(arrays, 2) + repeated({0x09, 0xFF, 0xFF, type}, arrays);
    };
    for (const std::uint8_t type : Bytes{0x00, 0x0B, 0x0F}) {
        for (const std::size_t arrays : {4, 5}) {
            const Bytes bytes = arraysOf(type, arrays);
            EXPECT_EQ(isOneEncodedValue(bytes), arrays == 4) << arrays;
            EXPECT_EQ(decodesToExactlyOneValue(bytes), arrays == 4) << arrays;
        }
    }
}
