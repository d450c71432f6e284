#include "psp/property_names.h"

#include <gtest/gtest.h>

namespace {

using zel::propertyName;

TEST(PropertyNames, IdsThatThePensFixHaveTheirNames)
{
    EXPECT_EQ(propertyName(0x0010), "PEN_REVISIONS");
    EXPECT_EQ(propertyName(0x202a), "AUTO_POWER_OFF");
    EXPECT_EQ(propertyName(0x202e), "BT_ENABLED");
    EXPECT_EQ(propertyName(0x2203), "BT_PIN");
    EXPECT_EQ(propertyName(0x2204), "DISCOVERABLE_ALLOWED");
    EXPECT_EQ(propertyName(0x2207), "PEN_WAKE_UP_TIME");
    EXPECT_EQ(propertyName(0x2208), "CERTIFICATE_AUTHENTICATOR");
    EXPECT_EQ(propertyName(0x2209), "CERTIFICATE");
    EXPECT_EQ(propertyName(0x220a), "SIGNING_KEY");
    EXPECT_EQ(propertyName(0x2021), "PEN_TIME");
    EXPECT_EQ(propertyName(0x0021), "SYSTEM_TIME");
}

TEST(PropertyNames, MembersOfAFamilyShowTheirIndex)
{
    EXPECT_EQ(propertyName(0x2100), "TEMPLATE[0x0000]");
    EXPECT_EQ(propertyName(0x215f), "TEMPLATE_MAPPING[0x001f]");
    EXPECT_EQ(propertyName(0x21bf), "SEGMENT_ATTRIBUTE[0x003f]");
    EXPECT_EQ(propertyName(0x21cc), "SHORTCUT[12]");
}

TEST(PropertyNames, UnnamedIdIsShownAsANumber)
{
    EXPECT_EQ(propertyName(0x000d), "0x000d");
    EXPECT_EQ(propertyName(0xfffe), "0xfffe");
}

} // namespace
