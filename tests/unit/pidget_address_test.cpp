#include "protocol/addresses/pidget_address.h"

#include "sys/exceptions.h"

#include <gtest/gtest.h>

using zel::PageAddress;
using zel::PidgetAddress;

TEST(PidgetAddress, StartsAsPidgetZeroOfPageZero)
{
    EXPECT_EQ(PidgetAddress().page().raw(), 0u);
    EXPECT_EQ(PidgetAddress().number(), 0u);
    EXPECT_EQ(PidgetAddress().toString(), "0.0.0.0:0");
}

TEST(PidgetAddress, TextHoldsPageAndNumber)
{
    const PidgetAddress address("*.*.*.*:549");
    EXPECT_EQ(address.page(), PageAddress("*.*.*.*"));
    EXPECT_EQ(address.number(), 549);
    EXPECT_EQ(address.toString(), "*.*.*.*:549");
    EXPECT_EQ(PidgetAddress(PageAddress("1.2.3.4"), 65535).toString(), "1.2.3.4:65535");
}

TEST(PidgetAddress, NumberIsOptional)
{
    EXPECT_EQ(PidgetAddress("1.2.3.4").toString(), "1.2.3.4:0");
    EXPECT_EQ(PidgetAddress("1.2.3.4:").toString(), "1.2.3.4:0");
    EXPECT_EQ(PidgetAddress("").toString(), "0.0.0.0:0");
}

TEST(PidgetAddress, NumberIsReadAsTheCLibraryReadsIt)
{
    EXPECT_EQ(PidgetAddress("1.2.3.4: 007x").number(), 7);
    EXPECT_EQ(PidgetAddress("1.2.3.4:+5").number(), 5);
    EXPECT_EQ(PidgetAddress("1.2.3.4:x").number(), 0);
    EXPECT_EQ(PidgetAddress("1.2.3.4:5:6").number(), 5);
}

TEST(PidgetAddress, NumberIsCutTo16Bits)
{
    EXPECT_EQ(PidgetAddress("1.2.3.4:65536").number(), 0);
    EXPECT_EQ(PidgetAddress("1.2.3.4:65541").number(), 5);
    EXPECT_EQ(PidgetAddress("1.2.3.4:-1").number(), 65535);
    EXPECT_EQ(PidgetAddress("1.2.3.4:4294967298").number(), 2);
}

TEST(PidgetAddress, MalformedPageThrows)
{
    EXPECT_THROW(PidgetAddress("1.2.3:5"), zel::ZELException);
    EXPECT_THROW(PidgetAddress(":5"), zel::ZELException);
}
