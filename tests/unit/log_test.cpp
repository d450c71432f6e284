#include "sys/log.h"

#include <gtest/gtest.h>

TEST(FormatLogText, TextLongerThanOneGrowthStepIsWhole)
{
    const std::string payload(5000, 'x');
    EXPECT_EQ(zel::FormatLogText("<%s>", payload.c_str()), "<" + payload + ">");
}

TEST(FormatLogText, TextAroundAGrowthStepIsWhole)
{
    for (const std::size_t length : {1023u, 1024u, 1025u, 2047u, 2048u, 2049u}) {
        const std::string text(length, 'x');
        EXPECT_EQ(zel::FormatLogText("%s", text.c_str()), text) << length;
    }
}
