#include "host/page_address.h"

#include <gtest/gtest.h>

namespace penctl {
namespace {

TEST(PageAddress, FourOrFiveNumbersAreOne)
{
    EXPECT_TRUE(isPageAddress("1.2.3.4"));
    EXPECT_TRUE(isPageAddress("0.0.0.0"));
    EXPECT_TRUE(isPageAddress("5.1.2.3.4"));
    EXPECT_TRUE(isPageAddress("4094.4094.65534.4094.4094"));
}

TEST(PageAddress, OnlyTheLastNumbersMayBeStars)
{
    EXPECT_TRUE(isPageAddress("1.2.3.*"));
    EXPECT_TRUE(isPageAddress("*.*.*.*"));
    EXPECT_FALSE(isPageAddress("1.*.3.4"));
}

TEST(PageAddress, NumberOfAllOnesIsNone)
{
    EXPECT_FALSE(isPageAddress("1.2.3.4095"));
    EXPECT_FALSE(isPageAddress("1.65535.3.4"));
    EXPECT_FALSE(isPageAddress("4095.1.2.3.4"));
}

TEST(PageAddress, OtherTextsAreNone)
{
    for (const char *text : {"", "1", "1.2.3", "1.2.3.4.5.6", "1..3.4", "1.2.3.", "01.2.3.4", "-1.2.3.4",
                             " 1.2.3.4", "1.2.3.4 ", "1.2.3.x", "1.2.3.**", "AKZ-AQ7-APS-AC"})
        EXPECT_FALSE(isPageAddress(text)) << text;
}

TEST(PageAddress, StarMakesAWildcard)
{
    EXPECT_TRUE(isWildcard("1.2.3.*"));
    EXPECT_FALSE(isWildcard("1.2.3.4"));
}

} // namespace
} // namespace penctl
