#include "protocol/values/encoded_value_scan.h"

#include "protocol/bytes/byte_source.h"
#include "protocol/values/value.h"
#include "protocol/values/value_decoder.h"
#include "protocol/values/value_format.h"
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
        return !value.isAbsent() && source.taken() == bytes.size();
    } catch (const ZELException &) {
        return false;
    }
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
        EncodedCounts counts = {99};
        ASSERT_EQ(scanEncodedValue(bytes, counts), decodes);
        ASSERT_EQ(counts.front(), 99u);
        ASSERT_TRUE(decodes || counts.size() == 1);
    }
    EXPECT_GT(accepted, 1000);
}

TEST(EncodedValueScan, CountsOfTerminatedArraysComeLastFirst)
{
    EncodedCounts counts = {99};
    EXPECT_TRUE(scanEncodedValue(
        Bytes{
            0x0A,                   // first array: three elements
            0x0A, 0x00, 0x00, 0x0B, // second: two
            0x00,                   //
            0x0A, 0x0F,             // third: none
            0x0B,                   // the first one's end
        },
        counts));
    EXPECT_EQ(counts, (EncodedCounts{99, 0, 2, 3}));
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

namespace {

/** What stands before the elements that come free: its wire form, and what the tree holds of it. */
struct Payload {
    const char *name;
    Bytes bytes;
    std::size_t values;
    std::size_t contents;
};

const Payload kPayloads[] = {
    {"nothing", {}, 0, 0},
    {"numbers", repeated({0x02, 0x07}, 100), 100, 0},
    {"string", Bytes{0x06, 0x03, 0xE8} + Bytes(1000, 0x41), 1, 1000},
    {"binary", Bytes{0x07, 0x00, 0x00, 0x03, 0xE8} + Bytes(1000, 0x41), 1, 1000},
    {"escaped binary", Bytes{0x0E} + Bytes(900, 0x41) + repeated({0xDB, 0xDC}, 100) + Bytes{0xC0}, 1, 1000},
};

constexpr std::size_t kAllowance = 16 * 1024 * 1024;
constexpr std::size_t kPerValue = 64;
constexpr std::size_t kFullArrays = kAllowance / (65535 * kPerValue);

/** A value array: the payload, full data arrays of 65,535 absent elements, one of so many, and bytes that the
 *  decoder has not received yet when it admits those. */
Bytes withAbsentElements(const Payload &payload, std::size_t count)
{
    return Bytes{0x08} + wire::bigEndian(payload.values + kFullArrays + 2, 2) + payload.bytes +
           repeated({0x09, 0xFF, 0xFF, 0x0F}, kFullArrays) + Bytes{0x09} + wire::bigEndian(count, 2) +
           Bytes{0x0F} + wire::long64(1);
}

/** How many absent elements the last of those arrays may have: the tree may hold 64 bytes per byte received
 *  and 16 MiB. */
std::size_t mostAbsentElements(const Payload &payload)
{
    const std::size_t received = 3 + payload.bytes.size() + (kFullArrays + 1) * 4;
    const std::size_t arrays = 1 + kFullArrays + 1; // with the one around them
    const std::size_t held = (arrays + payload.values + kFullArrays * 65535) * kPerValue + payload.contents;
    return (64 * received + kAllowance - held) / kPerValue;
}

} // namespace

// To the element: whatever else the tree holds is charged, whatever was received is credited, and the decoder
// and the scan agree about both.
TEST(EncodedValueScan, FreeElementsEndWhereTheTreeIsFullAsInTheDecoder)
{
    for (const Payload &payload : kPayloads) {
        const std::size_t most = mostAbsentElements(payload);
        ASSERT_LT(most, 65535u) << payload.name;
        const Bytes full = withAbsentElements(payload, most);
        EXPECT_TRUE(decodesToExactlyOneValue(full)) << payload.name;
        EXPECT_TRUE(isOneEncodedValue(full)) << payload.name;
        const Bytes tooFull = withAbsentElements(payload, most + 1);
        EXPECT_FALSE(decodesToExactlyOneValue(tooFull)) << payload.name;
        EXPECT_FALSE(isOneEncodedValue(tooFull)) << payload.name;
    }
}
