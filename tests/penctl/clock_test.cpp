#include "ui/text.h"

#include <gtest/gtest.h>

namespace penctl {

TEST(PenClock, DriftSaysWhichSideThePenIsOn)
{
    EXPECT_EQ(driftText(0), "0.000 s ahead");
    EXPECT_EQ(driftText(1250), "1.250 s ahead");
    EXPECT_EQ(driftText(-59'999), "59.999 s behind");
}

TEST(PenClock, LongDriftIsADuration)
{
    EXPECT_EQ(driftText(60'000), "00:01:00 ahead");
    EXPECT_EQ(driftText(-86'399'000), "23:59:59 behind");
    EXPECT_EQ(driftText(86'400'000), "1 day 00:00:00 ahead");
    EXPECT_EQ(driftText(-183'600'000), "2 days 03:00:00 behind");
    EXPECT_EQ(driftText(INT64_MIN), "106751991167 days 07:12:55 behind");
}

TEST(PenClock, TimesAreMillisecondsOrGmt)
{
    EXPECT_EQ(parseTime("0"), 0u);
    EXPECT_EQ(parseTime("1774958405250"), 1774958405250u);
    EXPECT_EQ(parseTime("1970-01-01T00:00:01Z"), 1000u);
    EXPECT_EQ(parseTime("2000-02-29 23:59"), 951'868'740'000u);
    EXPECT_EQ(parseTime("2000-02-29T23:59:59"), 951'868'799'000u);
}

TEST(PenClock, NowIsTheClockOfThisMachine)
{
    const uint64_t before = hostMillis();
    const std::optional<uint64_t> now = parseTime("now");
    ASSERT_TRUE(now);
    EXPECT_LE(before, *now);
    EXPECT_LE(*now, hostMillis());
}

TEST(PenClock, WhatIsNoTimeIsRefused)
{
    for (const char *text :
         {"", "-1", "yesterday", "2026-13-01T00:00", "2026-02-29T00:00", "2026-03-31", "2026-03-31T24:00",
          "2026-03-31T12:60", "2026-03-31T12:00:60", "2026-03-31T12:00:00Zx", "2026-03-31T1:00",
          "1969-12-31T00:00", "20 6-03-31T00:00", "18446744073709551616"})
        EXPECT_FALSE(parseTime(text)) << text;
}

} // namespace penctl
