#include "rendezvous/scanned_number.h"

#include <gtest/gtest.h>

#include <string_view>

using zel::scanDecimal;
using zel::scanHexadecimal;

TEST(ScannedNumber, DecimalStopsAtTheFirstCharacterThatDoesNotFit)
{
    EXPECT_EQ(scanDecimal("49153"), 49153);
    EXPECT_EQ(scanDecimal("12a4"), 12);
    EXPECT_EQ(scanDecimal("7 8"), 7);
}

TEST(ScannedNumber, LeadingBlanksAndSignAreTaken)
{
    EXPECT_EQ(scanDecimal(" \t+5"), 5);
    EXPECT_EQ(scanDecimal("-5"), -5);
    EXPECT_EQ(scanHexadecimal(" -1"), 0xFFFFFFFFFFFFFFFFu);
}

TEST(ScannedNumber, WithoutADigitThereIsNoNumber)
{
    EXPECT_EQ(scanDecimal(""), std::nullopt);
    EXPECT_EQ(scanDecimal("+"), std::nullopt);
    EXPECT_EQ(scanDecimal("- 5"), std::nullopt);
    EXPECT_EQ(scanDecimal("x"), std::nullopt);
    EXPECT_EQ(scanHexadecimal(""), std::nullopt);
    EXPECT_EQ(scanHexadecimal("g"), std::nullopt);
}

TEST(ScannedNumber, HexadecimalMayCarryItsPrefix)
{
    EXPECT_EQ(scanHexadecimal("0x1F"), 0x1Fu);
    EXPECT_EQ(scanHexadecimal("0XaB"), 0xABu);
    EXPECT_EQ(scanHexadecimal("ab9Z"), 0xAB9u);
    EXPECT_EQ(scanHexadecimal("0x"), 0u);
    EXPECT_EQ(scanHexadecimal("0xg"), 0u);
}

TEST(ScannedNumber, PrefixIsTakenOnlyBeforeADigitOfTheText)
{
    const std::string_view text = "0x1F";
    EXPECT_EQ(scanHexadecimal(text.substr(0, 2)), 0u) << "what stands behind the text is none of it";
}

TEST(ScannedNumber, LargestHexadecimalBelowAllOnesIsReadAsItIs)
{
    EXPECT_EQ(scanHexadecimal("FFFFFFFFFFFFFFFE"), 0xFFFFFFFFFFFFFFFEu);
}

TEST(ScannedNumber, HexadecimalThatDoesNotFitIsAllOnes)
{
    EXPECT_EQ(scanHexadecimal("FFFFFFFFFFFFFFFF"), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(scanHexadecimal("10000000000000000"), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(scanHexadecimal("-10000000000000000"), 0xFFFFFFFFFFFFFFFFu);
}
