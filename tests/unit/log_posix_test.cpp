#include "sys/log.h"

#include <gtest/gtest.h>

#include <cwchar>

// The "C" locale has no form for this character, so glibc's formatter refuses the whole text.
TEST(FormatLogText, WhatCannotBeFormattedShowsItsFormat)
{
    EXPECT_EQ(zel::FormatLogText("<%lc>", std::wint_t{0x20AC}), "Invalid format string: '<%lc>'");
}
