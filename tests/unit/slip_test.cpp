#include "protocol/bytes/slip.h"

#include "support/wire.h"

#include <gtest/gtest.h>

using namespace zel;
using zel::test::Bytes;

TEST(Slip, PlainPrefixEndsAtTheFirstSpecialByteWhereverItStands)
{
    for (const std::uint8_t special : Bytes{0xC0, 0xDB}) {
        for (std::size_t place = 0; place < 40; ++place) {
            Bytes bytes(40, 0x41);
            bytes[place] = special;
            EXPECT_EQ(slip::plainPrefix(bytes), place);
        }
    }
}

// Bytes next to the special ones in value, in every lane of a machine word.
TEST(Slip, NoOtherByteEndsThePlainPrefix)
{
    for (int byte = 0; byte < 256; ++byte) {
        if (byte == 0xC0 || byte == 0xDB)
            continue;
        EXPECT_EQ(slip::plainPrefix(Bytes(17, static_cast<std::uint8_t>(byte))), 17u) << byte;
    }
    EXPECT_EQ(slip::plainPrefix(Bytes{}), 0u);
}

TEST(Slip, StuffedFormIsAsLongAsItsSizeSays)
{
    const Bytes bytes = {0x01, 0xC0, 0xC0, 0xDB, 0x02};
    const Bytes expected = {0x01,       // plain
                            0xDB, 0xDC, // C0
                            0xDB, 0xDC, // C0
                            0xDB, 0xDD, // DB
                            0x02};      // plain
    ASSERT_EQ(slip::stuffedSize(bytes), expected.size());
    Bytes written(expected.size());
    EXPECT_EQ(slip::writeStuffed(written.data(), bytes), written.data() + written.size());
    EXPECT_EQ(written, expected);
}

TEST(Slip, OnlyTwoBytesMayFollowAnEscape)
{
    for (int byte = 0; byte < 256; ++byte) {
        const int expected = byte == 0xDC ? 0xC0 : byte == 0xDD ? 0xDB : -1;
        EXPECT_EQ(slip::unescape(static_cast<std::uint8_t>(byte)), expected);
    }
}
