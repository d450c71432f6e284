#include "protocol/frames/protocol_driver.h"

#include "support/byte_stream.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace zel;
using namespace zel::test;

TEST(ProtocolDriverFinder, FindsTheDriverOfVersion1_0)
{
    ProtocolDriverFinder finder;
    const ClientProtocolDriver &driver = finder.find(kProtocolVersion1_0);
    EXPECT_EQ(driver.getVersion().major(), 1);
    EXPECT_EQ(driver.getVersion().minor(), 0);
    EXPECT_EQ(&finder.find(kProtocolVersion1_0), &driver);
}

// The search starts at the version's row and goes on through the rows behind it.
TEST(ProtocolDriverFinder, MajorZeroEndsOnTheDriverOfTheNextRow)
{
    ProtocolDriverFinder finder;
    EXPECT_EQ(&finder.find(ProtocolVersion(0, 0)), &finder.find(kProtocolVersion1_0));
    EXPECT_EQ(&finder.find(ProtocolVersion(0, 9)), &finder.find(kProtocolVersion1_0));
}

TEST(ProtocolDriverFinder, MinorVersionsShareTheirRow)
{
    ProtocolDriverFinder finder;
    EXPECT_EQ(&finder.find(ProtocolVersion(1, 9)), &finder.find(kProtocolVersion1_0));
}

TEST(ProtocolDriverFinder, LaterMajorsThrowWithoutAText)
{
    ProtocolDriverFinder finder;
    for (const std::uint8_t major : Bytes{2, 255}) {
        try {
            finder.find(ProtocolVersion(major, 0));
            FAIL() << "nothing was thrown";
        } catch (const ZELException &exception) {
            EXPECT_STREQ(exception.what(), "");
        }
    }
}

TEST(ProtocolDriverFinder, ProcessHasOneTable)
{
    EXPECT_EQ(&protocolDriverFinder(), &protocolDriverFinder());
    EXPECT_NO_THROW(protocolDriverFinder().find(kProtocolVersion1_0));
}

TEST(ClientProtocolDriver, MakesEncodersForThePidgetAndDecodersOfTheStream)
{
    const ClientProtocolDriver &driver = protocolDriverFinder().find(kProtocolVersion1_0);
    std::ostringstream request;
    driver.createRequestEncoder(PidgetAddress("1.2.3.4:5"))->encode(request);
    EXPECT_EQ(bytesOf(request), (Bytes{
                                    0x01, 0x00, 0x00, 0x18,                         // version, header length
                                    0x00, 0x00, 0x01, 0x00, 0x02, 0x00, 0x30, 0x04, // page address
                                    0x00, 0x05,                                     // pidget number
                                    0x00, 0x0F, 0x00, 0x02, 0x00, 0x02, 0x00, 0x01, // header lengths
                                    0x00, 0x00, 0x00, 0x00,                         // no pages, no entries
                                }));

    std::istringstream response = streamOf({0x00, 0x0A, 0x00, 0x03, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00});
    EXPECT_TRUE(driver.createResponseDecoder(response)->getInstructions().empty());
}
