#include "rendezvous/rendezvous_message.h"

#include "support/log_capture.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

using zel::LogLevel;
using zel::RendezvousCommand;
using zel::RendezvousEvent;
using zel::rendezvous::commandOf;
using zel::rendezvous::isEndOfList;
using zel::rendezvous::isPenMessage;
using zel::rendezvous::parsePenMessage;

namespace {

const std::string kWholeMessage = "RVP1\r\n"
                                  "CONNECT\r\n"
                                  "pen-id=12300abcdef\r\n"
                                  "pen-brand=Inkwell\r\n"
                                  "pen-swver=0503\r\n"
                                  "service-port=49153\r\n"
                                  "acc-prot=PSP40\r\n"
                                  "acc-prot=PSP41\r\n"
                                  "pen-vid=1209\r\n"
                                  "pen-pid=0001\r\n"
                                  "pen-dfu=1\r\n";

} // namespace

TEST(RendezvousMessage, EveryKeyIsReadIntoTheEvent)
{
    const RendezvousEvent event = parsePenMessage(kWholeMessage);
    EXPECT_EQ(event.penId.number(), 0x12300ABCDEFu);
    EXPECT_EQ(event.penBrand, "Inkwell");
    EXPECT_EQ(event.penSwVersion, 0x0503);
    EXPECT_EQ(event.servicePort, 49153);
    EXPECT_EQ(event.pspVersions.ids(), (std::vector<std::uint32_t>{6, 7}));
    EXPECT_EQ(event.vendorId, 0x1209);
    EXPECT_EQ(event.productId, 0x0001);
    EXPECT_TRUE(event.dfu);
    EXPECT_EQ(event.command, RendezvousCommand::Unknown) << "the command is read apart";
}

TEST(RendezvousMessage, OrderOfTheLinesIsFree)
{
    const RendezvousEvent event = parsePenMessage("pen-pid=22\r\nservice-port=7\r\nRVP1\r\npen-vid=11\r\n");
    EXPECT_EQ(event.servicePort, 7);
    EXPECT_EQ(event.vendorId, 0x11);
    EXPECT_EQ(event.productId, 0x22);
}

TEST(RendezvousMessage, WithoutKeysEveryFieldHasItsDefaultAndSixAreMissed)
{
    const LogCapture log;
    const RendezvousEvent event = parsePenMessage("RVP1");
    EXPECT_EQ(event.servicePort, 0);
    EXPECT_EQ(event.penId.number(), 0u);
    EXPECT_EQ(event.penBrand, "");
    EXPECT_TRUE(event.pspVersions.ids().empty());
    EXPECT_EQ(event.penSwVersion, 0);
    EXPECT_EQ(event.vendorId, 0);
    EXPECT_EQ(event.productId, 0);
    EXPECT_FALSE(event.dfu);
    const std::vector<LogCapture::Entry> expected{
        {LogLevel::Error, "[RendezvousClient] VendorId token not found in buffer: RVP1"},
        {LogLevel::Error, "[RendezvousClient] ProductId token not found in buffer: RVP1"},
        {LogLevel::Error, "[RendezvousClient] DFU token not found in buffer: RVP1"},
        {LogLevel::Error, "[RendezvousClient] PenBrand token not found in buffer: RVP1"},
        {LogLevel::Error, "[RendezvousClient] PenId token not found in buffer: RVP1"},
        {LogLevel::Error, "[RendezvousClient] Pen Software Version token not found in buffer: RVP1"},
    };
    EXPECT_EQ(log.entries(), expected);
}

TEST(RendezvousMessage, UnreadableValuesAreLoggedAndLeaveTheDefaults)
{
    const std::string message =
        "RVP1\r\npen-id=\r\npen-swver=zz\r\npen-vid=\r\npen-pid=-\r\npen-dfu=x\r\npen-brand=cut";
    const LogCapture log;
    const RendezvousEvent event = parsePenMessage(message);
    EXPECT_EQ(event.penId.number(), 0u);
    EXPECT_EQ(event.penSwVersion, 0);
    EXPECT_FALSE(event.dfu);
    EXPECT_EQ(event.penBrand, "");
    const std::vector<LogCapture::Entry> expected{
        {LogLevel::Error, "[RendezvousClient] VendorId string not found in buffer: " + message},
        {LogLevel::Error, "[RendezvousClient] ProductId string not found in buffer: " + message},
        {LogLevel::Error, "[RendezvousClient] DFU string not found in buffer: " + message},
        {LogLevel::Error, "[RendezvousClient] Pen brand string not found in buffer: " + message},
        {LogLevel::Error, "[RendezvousClient] PenId hex string not found in buffer: " + message},
        {LogLevel::Error,
         "[RendezvousClient] Pen Software Version hex string not found in buffer: " + message},
    };
    EXPECT_EQ(log.entries(), expected);
}

// An empty value must not take the number of the next line.
TEST(RendezvousMessage, NumberNeverReachesBeyondItsLine)
{
    EXPECT_EQ(parsePenMessage("RVP1\r\nservice-port=\r\n123\r\n").servicePort, 0);
    EXPECT_EQ(parsePenMessage("RVP1\r\npen-vid=\r\n1209\r\n").vendorId, 0);
}

TEST(RendezvousMessage, KeyWithoutEqualsSignTakesNoNumberOfTheNextLine)
{
    EXPECT_EQ(parsePenMessage("RVP1\r\npen-vid\r\nacc-prot=PSP41\r\n").vendorId, 0);
    EXPECT_EQ(parsePenMessage("RVP1\r\npen-pid\r\ndead\r\n").productId, 0);
    EXPECT_EQ(parsePenMessage("RVP1\r\npen-id\r\n1\r\n").penId.number(), 0u);
}

TEST(RendezvousMessage, KeyAtTheVeryEndIsUnreadable)
{
    for (const char *message :
         {"RVP1\r\npen-id", "RVP1\r\npen-id=", "RVP1\r\nservice-port=", "RVP1\r\npen-dfu"}) {
        const RendezvousEvent event = parsePenMessage(message);
        EXPECT_EQ(event.penId.number(), 0u) << message;
        EXPECT_EQ(event.servicePort, 0) << message;
        EXPECT_FALSE(event.dfu) << message;
    }
}

TEST(RendezvousMessage, KeyCountsWhereItStandsFirstWhateverStandsAroundIt)
{
    const RendezvousEvent event = parsePenMessage("pen-vid=1\r\nopen-pid=2\r\npen-vid=3\r\n-pen--pen-id=4\r\n"
                                                  "brand-pen-brand=pen-swver=5\r\n");
    EXPECT_EQ(event.vendorId, 1);
    EXPECT_EQ(event.productId, 2);
    EXPECT_EQ(event.penId.number(), 4u);
    EXPECT_EQ(event.penBrand, "pen-swver=5");
    EXPECT_EQ(event.penSwVersion, 5);
}

TEST(RendezvousMessage, PartsOfKeysAreNone)
{
    for (const char *message :
         {"-id=1\r\n", "en-id=1\r\n", "pen_id=1\r\n", "pen-", "-", "----", "pen-i", "Pen-id=1\r\n"})
        EXPECT_EQ(parsePenMessage(message).penId.number(), 0u) << message;
    for (const char *message : {"-port=7\r\n", "rvice-port=7\r\n", "service-port", "service-port:7\r\n"})
        EXPECT_EQ(parsePenMessage(message).servicePort, 0) << message;
    for (const char *message :
         {"-prot=PSP10\r\n", "cc-prot=PSP10\r\n", "acc-pro=PSP10\r\n", "acc-", "acc-prot"})
        EXPECT_TRUE(parsePenMessage(message).pspVersions.ids().empty()) << message;
}

TEST(RendezvousMessage, VersionStandsBehindTheNextEqualsSignOfItsKey)
{
    EXPECT_EQ(parsePenMessage("acc-prot acc-prot\r\n=PSP10\r\n").pspVersions.ids(),
              (std::vector<std::uint32_t>{1}));
    EXPECT_EQ(parsePenMessage("aCC-pROT=PSP10\racc-prot=PSP11\rAcc-Prot=psp20\r").pspVersions.ids(),
              (std::vector<std::uint32_t>{1, 2, 3}));
    EXPECT_EQ(parsePenMessage("acc-prot=acc-prot=PSP10\r").pspVersions.ids(),
              (std::vector<std::uint32_t>{0}));
}

TEST(RendezvousMessage, DfuFlagIsTrueForOneAndMore)
{
    EXPECT_TRUE(parsePenMessage("RVP1\r\npen-dfu=2\r\n").dfu);
    EXPECT_FALSE(parsePenMessage("RVP1\r\npen-dfu=0\r\n").dfu);
    EXPECT_FALSE(parsePenMessage("RVP1\r\npen-dfu=-1\r\n").dfu);
    EXPECT_FALSE(parsePenMessage("RVP1\r\n").dfu);
}

// Hosts compare 16-bit versions: the announced number is cut, not clamped.
TEST(RendezvousMessage, SoftwareVersionIsCutToItsLow16Bits)
{
    EXPECT_EQ(parsePenMessage("RVP1\r\npen-swver=1234567\r\n").penSwVersion, 0x4567);
}

TEST(RendezvousMessage, AcceptedVersionsKeepTheirOrderInAnyCase)
{
    const auto event = parsePenMessage("RVP1\r\nACC-PROT=psp10\r\nacc-prot=Psp 21\r\n");
    EXPECT_EQ(event.pspVersions.ids(), (std::vector<std::uint32_t>{1, 4}));
    EXPECT_EQ(event.pspVersions.toText(), "1.0, 2.1");
}

TEST(RendezvousMessage, LastVersionWithoutLineEndIsIgnored)
{
    const auto event = parsePenMessage("RVP1\r\nacc-prot=PSP40\r\nacc-prot=PSP41");
    EXPECT_EQ(event.pspVersions.ids(), (std::vector<std::uint32_t>{6}));
}

TEST(RendezvousMessage, BrandIsCutAt127Bytes)
{
    const std::string brand(300, 'b');
    EXPECT_EQ(parsePenMessage("RVP1\r\npen-brand=" + brand + "\r\n").penBrand, std::string(127, 'b'));
}

TEST(RendezvousMessage, PenIdThatIsNoneIsRefused)
{
    try {
        parsePenMessage("RVP1\r\npen-id=697800000000\r\n");
        FAIL() << "no exception";
    } catch (const zel::ZELException &failure) {
        EXPECT_STREQ(failure.what(), "0x0000697800000000");
    }
}

TEST(RendezvousMessage, BothModesMarkPenMessages)
{
    EXPECT_TRUE(isPenMessage("RVP1\r\n"));
    EXPECT_TRUE(isPenMessage("xDVP1"));
    EXPECT_FALSE(isPenMessage("RVP2"));
    EXPECT_TRUE(isEndOfList("RVA1\r\nENDLIST\r\n"));
    EXPECT_FALSE(isEndOfList("RVP1\r\n"));
}

// The one word contains the other.
TEST(RendezvousMessage, DisconnectIsNeverTakenForConnect)
{
    const LogCapture log;
    EXPECT_EQ(commandOf("RVP1\r\nDISCONNECT\r\n", 49153), RendezvousCommand::Disconnect);
    EXPECT_EQ(commandOf("RVP1\r\nCONNECT\r\n", 49154), RendezvousCommand::Connect);
    EXPECT_EQ(commandOf("RVP1\r\nHELLO\r\n", 0), RendezvousCommand::Unknown);
    const std::vector<LogCapture::Entry> expected{
        {LogLevel::Info, "Pen disconnected 49153"},
        {LogLevel::Info, "Pen connected 49154"},
        {LogLevel::Error, "Commmand not known: RVP1\r\nHELLO\r\n"},
    };
    EXPECT_EQ(log.entries(), expected);
}
