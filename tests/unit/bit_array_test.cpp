#include "protocol/addresses/bit_array.h"

#include "sys/exceptions.h"

#include <gtest/gtest.h>

#include <functional>

using zel::BitArray;

namespace {

constexpr std::uint64_t kAllOnes = 0xFFFFFFFFFFFFFFFF;

std::string textOfThrown(const std::function<void()> &action)
{
    try {
        action();
    } catch (const zel::ZELException &exception) {
        return exception.what();
    }
    return "nothing was thrown";
}

} // namespace

TEST(BitArray, StartsEmpty)
{
    EXPECT_EQ(BitArray().word(), 0u);
}

TEST(BitArray, GetBitsShiftsTheFieldDown)
{
    const BitArray bits(0x000FFF0000000000);
    EXPECT_EQ(bits.getBits(40, 51), 0xFFFu);
    EXPECT_EQ(bits.getBits(36, 43), 0xF0u);
    EXPECT_EQ(bits.getBits(52, 63), 0u);
    EXPECT_EQ(BitArray(0x8000000000000000).getBits(63, 63), 1u);
}

TEST(BitArray, SetBitsReplacesTheFieldAlone)
{
    BitArray bits(0xFFFFFFFFFFFFFFFF);
    bits.setBits(8, 15, 0x42);
    EXPECT_EQ(bits.word(), 0xFFFFFFFFFFFF42FFu);
    bits.setBits(63, 63, 0);
    EXPECT_EQ(bits.word(), 0x7FFFFFFFFFFF42FFu);
}

TEST(BitArray, ValueWiderThanTheFieldThrows)
{
    BitArray bits(5);
    EXPECT_EQ(textOfThrown([&] { bits.setBits(40, 51, 0x1000); }), "BitArray - bit value overflow");
    EXPECT_EQ(bits.word(), 5u);
}

TEST(BitArray, AllOnesFillAFieldOfAnyWidth)
{
    BitArray bits;
    bits.setBits(40, 51, kAllOnes);
    EXPECT_EQ(bits.word(), 0x000FFF0000000000u);
}

TEST(BitArray, InvalidFieldsThrow)
{
    BitArray bits;
    EXPECT_EQ(textOfThrown([&] { bits.getBits(5, 4); }), "BitArray - Invalid bit number");
    EXPECT_EQ(textOfThrown([&] { bits.getBits(0, 64); }), "BitArray - Invalid bit number");
    EXPECT_EQ(textOfThrown([&] { bits.getBits(64, 64); }), "BitArray - Invalid bit number");
    EXPECT_EQ(textOfThrown([&] { bits.setBits(0, 64, 1); }), "BitArray - Invalid bit number");
    EXPECT_EQ(textOfThrown([&] { bits.setBits(5, 4, kAllOnes); }), "BitArray - Invalid bit number");
}

TEST(BitArray, TheValueIsTestedBeforeTheField)
{
    BitArray bits;
    EXPECT_EQ(textOfThrown([&] { bits.setBits(60, 64, 0x20); }), "BitArray - bit value overflow");
}

// Shift counts are taken modulo 64, so the mask of the whole word is empty. Kept on purpose.
TEST(BitArray, TheFieldOfAllBitsReadsAsZero)
{
    EXPECT_EQ(BitArray(kAllOnes).getBits(0, 63), 0u);
    EXPECT_EQ(BitArray(0x0123456789ABCDEF).getBits(0, 63), 0u);
}

TEST(BitArray, WritingTheFieldOfAllBitsClearsTheWord)
{
    for (const std::uint64_t value : {std::uint64_t{0}, kAllOnes}) {
        BitArray bits(0x0123456789ABCDEF);
        bits.setBits(0, 63, value);
        EXPECT_EQ(bits.word(), 0u);
    }
}

// Only the upper ends are tested: -1..2 is four bits wide and starts, modulo 64, at bit 63.
TEST(BitArray, NegativeBitNumbersWrapAround)
{
    EXPECT_EQ(BitArray(0x8000000000000007).getBits(-1, 2), 1u);
}
