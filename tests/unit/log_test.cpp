#include "sys/log.h"

#include <gtest/gtest.h>

TEST(FormatLogText, TextLongerThanOneGrowthStepIsWhole)
{
    const std::string payload(5000, 'x');
    EXPECT_EQ(zel::FormatLogText("<%s>", payload.c_str()), "<" + payload + ">");
}
