#include "pagedata/page_address_text.h"

#include <gtest/gtest.h>

namespace penctl {

TEST(PageAddressText, FirstFieldIsLeftOutWhenZero)
{
    EXPECT_EQ(pageAddressText(0x0000000000000000), "0.0.0.0");
    EXPECT_EQ(pageAddressText(0x0000010002003004), "1.2.3.4");
    EXPECT_EQ(pageAddressText(0x0010000000000000), "1.0.0.0.0");
}

TEST(PageAddressText, FieldOfOnesIsAStar)
{
    EXPECT_EQ(pageAddressText(0xFFFFFFFFFFFFFFFF), "*.*.*.*.*");
    EXPECT_EQ(pageAddressText(0x000FFFFFFFFFFFFF), "*.*.*.*");
    EXPECT_EQ(pageAddressText(0x0000010002FFFFFF), "1.2.*.*");
    EXPECT_EQ(pageAddressText(0x000000FFFF000000), "0.*.0.0");
}

TEST(PageAddressText, EveryFieldTakesItsOwnBits)
{
    EXPECT_EQ(pageAddressText(0xFFEFFEFFFEFFEFFE), "4094.4094.65534.4094.4094");
}

} // namespace penctl
