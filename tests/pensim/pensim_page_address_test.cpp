#include "pensim/pen_description.h"

#include <gtest/gtest.h>

namespace {

TEST(PensimPageAddress, TextHasFourFieldsWhenTheFirstIsZero)
{
    EXPECT_EQ(pensim::parsePageAddress("1.2.3.4"), 0x0000010002003004u);
    EXPECT_EQ(pensim::parsePageAddress("5.1.2.3.4"), 0x0050010002003004u);
    EXPECT_EQ(pensim::pageAddressText(0x0000010002003004), "1.2.3.4");
    EXPECT_EQ(pensim::pageAddressText(0x0050010002003004), "5.1.2.3.4");
    EXPECT_EQ(pensim::parsePageAddress("1.2.*.*"), 0x0000010002ffffffu);
    EXPECT_EQ(pensim::pageAddressText(0x0000010002ffffff), "1.2.*.*");
}

TEST(PensimPageAddress, BadTextsAreRefused)
{
    for (const char *text :
         {"", "1.2.3", "1.2.3.4.5.6", "4096.0.0.0", "1.70000.0.0", "1.2.3.x", "1..3.4", "-1.2.3.4"})
        EXPECT_THROW(pensim::parsePageAddress(text), std::invalid_argument) << text;
}

TEST(PensimPageAddress, AddressesFollowOneAnotherWithoutMissingFields)
{
    const auto next = [](const char *text) {
        const auto address = pensim::nextPageAddress(pensim::parsePageAddress(text));
        return address ? pensim::pageAddressText(*address) : "none";
    };
    EXPECT_EQ(next("1.2.3.4"), "1.2.3.5");
    EXPECT_EQ(next("1.2.3.4094"), "1.2.4.0");
    EXPECT_EQ(next("1.65534.4094.4094"), "2.0.0.0");
    EXPECT_EQ(next("4094.65534.4094.4094"), "1.0.0.0.0");
    EXPECT_EQ(next("4094.4094.65534.4094.4094"), "none");
}

TEST(PensimPageAddress, GeneratedStrokesFollowTheirSeed)
{
    // By hand: x1 = 1442695040888963407, x2 = x1 * 6364136223846793005 + 1442695040888963407 modulo 2^64.
    EXPECT_EQ(pensim::generatedStrokes(2, 0), (pensim::Bytes{0x14, 0x1a}));
    EXPECT_NE(pensim::generatedStrokes(100, 1), pensim::generatedStrokes(100, 2));
}

TEST(PensimSerialText, GivesTheTextsOnThePens)
{
    EXPECT_EQ(pensim::serialText(0), "AAA-AAA-AAA-AA");
    EXPECT_EQ(pensim::serialText(1), "AAA-AAA-AAB-AB");
    EXPECT_EQ(pensim::serialText(0x100000001), "AAB-AAA-AAB-D7");
    EXPECT_EQ(pensim::serialText(0x12300ABCDEF), "AKZ-AQ7-APS-AC");
    EXPECT_EQ(pensim::serialText(0x69772B73A83F), "999-999-999-AF");
    EXPECT_EQ(pensim::serialText(0x80000000), "AAA-EXU-ZCJ-B8");
    EXPECT_EQ(pensim::serialText(~0ull), "INVALID-PEN-ID");
}

} // namespace
