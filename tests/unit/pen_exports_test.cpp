#include "session/manager.h"
#include "session/pen_handle.h"
#include "support/connected_pen.h"
#include "support/log_capture.h"

#include "zel/zel.h"

#include <gtest/gtest.h>

namespace {

using namespace zel;
using namespace zel::test;

using Instructions = std::vector<std::string>;

class ConnectPen : public testing::Test
{
protected:
    ~ConnectPen() override { EXPECT_EQ(zelDisconnectPen(&m_pen), ZEL_OK); }

    uint32_t connect(std::uint16_t announcedVersion = 0x0503)
    {
        const DiscoveryRecord record = arrivalOf(m_service, announcedVersion);
        return zelConnectPen(&record, &m_pen);
    }

    InitializedLibrary m_library;
    ScriptedPen m_service;
    PenHandle *m_pen = nullptr;
    LogCapture m_log;
};

TEST_F(ConnectPen, AsksForTheLockAndThenForTheSoftwareVersion)
{
    m_service.then(wire::result(wire::byte(0))).then(wire::result(wire::short16(0x0502)));
    EXPECT_EQ(connect(), ZEL_OK);
    EXPECT_EQ(m_service.requests(), (std::vector<Bytes>{
                                        {0x52, 0x31, 0x47, 0x4c, 0x00},                         // R1GL
                                        {0x52, 0x31, 0x47, 0x50, 0x01, 0x00, 0x03, 0x00, 0x01}, // R1GP 0x0001
                                    }));
    EXPECT_EQ(m_pen->penId, kPenId);
    EXPECT_EQ(m_pen->serial, kPenSerial);
}

TEST_F(ConnectPen, AnnouncedSoftwareVersionIsKept)
{
    m_service.then(wire::result(wire::byte(0))).then(wire::result(wire::short16(0x0502)));
    EXPECT_EQ(connect(0x0503), ZEL_OK);
    EXPECT_EQ(m_pen->softwareVersion, 0x0503);
}

TEST_F(ConnectPen, MissingSoftwareVersionComesFromThePen)
{
    m_service.then(wire::result(wire::byte(0))).then(wire::result(wire::short16(0x0502)));
    EXPECT_EQ(connect(0), ZEL_OK);
    EXPECT_EQ(m_pen->softwareVersion, 0x0502);
}

TEST_F(ConnectPen, SoftwareVersionIsCutTo16Bits)
{
    m_service.then(wire::result(wire::byte(0))).then(wire::result(wire::int32(0x00070502)));
    EXPECT_EQ(connect(0), ZEL_OK);
    EXPECT_EQ(m_pen->softwareVersion, 0x0502);
}

TEST_F(ConnectPen, LockedPenConnectsWithoutItsSoftwareVersion)
{
    m_service.then(wire::result(wire::byte(1)));
    EXPECT_EQ(connect(0), ZEL_OK);
    EXPECT_EQ(m_pen->softwareVersion, 0);
    EXPECT_EQ(m_service.instructions(), Instructions{"R1GL"});
}

TEST_F(ConnectPen, PenWhoseLockCannotBeAskedCountsAsLocked)
{
    for (const std::int32_t status : {-9003, -9001, -1}) {
        m_service.then(wire::status(status));
        EXPECT_EQ(connect(), ZEL_OK);
        EXPECT_EQ(zelDisconnectPen(&m_pen), ZEL_OK);
    }
    m_service.then(closing());
    EXPECT_EQ(connect(), ZEL_OK);
    EXPECT_NE(m_pen->client, nullptr);
    EXPECT_EQ(m_service.instructions(), Instructions(4, "R1GL"));
    EXPECT_TRUE(m_log.contains(LogLevel::Error, "[TarselPen::isLocked] failed, pen is locked"));
    EXPECT_TRUE(m_log.contains(LogLevel::Error, "[TarselPen::isLocked] failed"));
    EXPECT_TRUE(m_log.contains(LogLevel::Error, "zelGetPenLockedStatus caught an undefined exception."));
}

TEST_F(ConnectPen, UnreadableSoftwareVersionLeavesTheHandleConnected)
{
    const struct {
        Answer answer;
        uint32_t code;
        const char *text;
    } cases[] = {
        {closing(), ZEL_ERR_COMMUNICATION, "[zelConnectPen] failed to get pen software version."},
        {{.bytes = wire::status(-9003)},
         ZEL_ERR_PEN_LOCKED,
         "[zelConnectPen] failed failed to get pen software version, pen is locked"},
        {{.bytes = wire::status(-1)}, ZEL_ERR_UNEXPECTED, "zelConnectPen caught an undefined exception."},
    };
    for (const auto &oneCase : cases) {
        m_service.then(wire::result(wire::byte(0))).then(oneCase.answer);
        EXPECT_EQ(connect(), oneCase.code);
        EXPECT_TRUE(m_log.contains(LogLevel::Error, oneCase.text)) << oneCase.text;
        ASSERT_NE(m_pen, nullptr);
        EXPECT_NE(m_pen->client, nullptr);
        EXPECT_EQ(zelDisconnectPen(&m_pen), ZEL_OK);
    }
}

TEST_F(ConnectPen, ConnectionLostOverTheLockIsToldByTheNextFunction)
{
    m_service.then(closing());
    EXPECT_EQ(connect(), ZEL_OK);
    HandedText name;
    EXPECT_EQ(zelGetPenProductName(m_pen, name.out()), ZEL_ERR_COMMUNICATION);
}

// A locked pen does not tell its version, and nobody asks again while the handle lives.
TEST_F(ConnectPen, UnlockedPenOfUnknownSoftwareIsOldUntilItIsConnectedAgain)
{
    m_service.then(wire::result(wire::byte(1)));
    EXPECT_EQ(connect(0), ZEL_OK);
    m_service.then(wire::result(wire::byte(1)));
    EXPECT_EQ(zelUnlockPen(m_pen, "secret"), ZEL_OK);
    uint32_t seconds = 0;
    EXPECT_EQ(zelGetWakeUpTime(m_pen, &seconds), ZEL_ERR_NOT_SUPPORTED);

    EXPECT_EQ(zelDisconnectPen(&m_pen), ZEL_OK);
    m_service.then(wire::result(wire::byte(0))).then(wire::result(wire::short16(0x0502)));
    EXPECT_EQ(connect(0), ZEL_OK);
    m_service.then(wire::result(wire::int32(600)));
    EXPECT_EQ(zelGetWakeUpTime(m_pen, &seconds), ZEL_OK);
    EXPECT_EQ(seconds, 600u);
}

TEST_F(ConnectPen, UnreachableServiceLeavesAHandleWithoutClient)
{
    m_service.stopListening();
    EXPECT_EQ(connect(), ZEL_ERR_UNEXPECTED);
    EXPECT_TRUE(m_log.contains(LogLevel::Error, "zelConnectPen caught an undefined exception."));
    ASSERT_NE(m_pen, nullptr);
    EXPECT_EQ(m_pen->client, nullptr);
    EXPECT_EQ(m_pen->serial, kPenSerial);
    EXPECT_EQ(zelDisconnectPen(&m_pen), ZEL_OK);
    EXPECT_EQ(m_pen, nullptr);
}

TEST_F(ConnectPen, HandleWithoutClientIsLikeALostConnection)
{
    m_service.stopListening();
    EXPECT_EQ(connect(), ZEL_ERR_UNEXPECTED);
    HandedText text;
    uint8_t locked = 0;
    EXPECT_EQ(zelGetPenProductName(m_pen, text.out()), ZEL_ERR_COMMUNICATION);
    EXPECT_EQ(zelGetPenLockedStatus(m_pen, &locked), ZEL_ERR_COMMUNICATION);
    EXPECT_EQ(locked, 1);
    EXPECT_EQ(zelGetPenSerial(m_pen, text.out()), ZEL_OK);
}

TEST_F(ConnectPen, DepartureRecordIsRefused)
{
    DiscoveryRecord record = arrivalOf(m_service, 0x0503);
    record.kind = ZEL_PEN_DEPARTED;
    EXPECT_EQ(zelConnectPen(&record, &m_pen), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(m_pen, nullptr);
    EXPECT_EQ(m_service.connections(), 0u);
}

TEST_F(ConnectPen, UnknownUsbIdsAreRefusedWithoutTouchingTheNetwork)
{
    DiscoveryRecord record = arrivalOf(m_service, 0x0503);
    record.vendorId = 0xfff0;
    record.productId = 0x0108; // the number that is left out of its run
    EXPECT_EQ(zelConnectPen(&record, &m_pen), ZEL_ERR_DEVICE_NOT_SUPPORTED);
    EXPECT_EQ(m_pen, nullptr);
    EXPECT_EQ(m_service.connections(), 0u);
}

TEST_F(ConnectPen, DepartureComesBeforeUsbIds)
{
    DiscoveryRecord record = arrivalOf(m_service, 0x0503);
    record.kind = 2;
    record.vendorId = 0xffff;
    EXPECT_EQ(zelConnectPen(&record, &m_pen), ZEL_ERR_INVALID_ARGUMENT);
}

TEST_F(ConnectPen, NullsAreRefused)
{
    const DiscoveryRecord record = arrivalOf(m_service, 0x0503);
    EXPECT_EQ(zelConnectPen(nullptr, &m_pen), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelConnectPen(&record, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(m_service.connections(), 0u);
}

TEST(PenExports, NothingWorksUninitialised)
{
    const DiscoveryRecord record{};
    PenHandle pen;
    PenHandle *output = &pen;
    char left[] = "left over";
    char *serial = left;
    char *name = left;
    uint8_t locked = 0;
    EXPECT_EQ(zelConnectPen(&record, &output), ZEL_ERR_NOT_INITIALIZED);
    EXPECT_EQ(output, &pen);
    EXPECT_EQ(zelDisconnectPen(&output), ZEL_ERR_NOT_INITIALIZED);
    EXPECT_EQ(zelGetPenSerial(&pen, &serial), ZEL_ERR_NOT_INITIALIZED);
    EXPECT_EQ(serial, nullptr);
    EXPECT_EQ(zelGetPenProductName(&pen, &name), ZEL_ERR_NOT_INITIALIZED);
    EXPECT_EQ(name, nullptr);
    EXPECT_EQ(zelGetPenLockedStatus(&pen, &locked), ZEL_ERR_NOT_INITIALIZED);
    EXPECT_EQ(locked, 1);
}

TEST(PenExports, HandleAndItsConnectionOutliveTheLibrary)
{
    ScriptedPen service;
    PenHandle *pen = nullptr;
    {
        const InitializedLibrary library;
        const DiscoveryRecord record = arrivalOf(service, 0x0503);
        service.then(wire::result(wire::byte(1)));
        ASSERT_EQ(zelConnectPen(&record, &pen), ZEL_OK);
    }
    const PenHandle *const handle = pen;
    EXPECT_EQ(zelDisconnectPen(&pen), ZEL_ERR_NOT_INITIALIZED);
    EXPECT_EQ(pen, handle);

    const InitializedLibrary library;
    HandedText name;
    service.then(wire::result(wire::string("Quill 3")));
    EXPECT_EQ(zelGetPenProductName(pen, name.out()), ZEL_OK);
    EXPECT_EQ(zelDisconnectPen(&pen), ZEL_OK);
    EXPECT_EQ(pen, nullptr);
    EXPECT_TRUE(service.waitUntilClosed());
    EXPECT_EQ(service.connections(), 1u);
}

class ConnectedPenExports : public testing::Test
{
protected:
    InitializedLibrary m_library;
    ConnectedPen m_pen;
    LogCapture m_log;
};

TEST_F(ConnectedPenExports, DisconnectingEndsTheConnectionAndNullsThePointer)
{
    PenHandle *pen = nullptr;
    const DiscoveryRecord record = arrivalOf(m_pen.service(), 0x0503);
    m_pen.service().then(wire::result(wire::byte(1)));
    ASSERT_EQ(zelConnectPen(&record, &pen), ZEL_OK);
    EXPECT_EQ(zelDisconnectPen(&pen), ZEL_OK);
    EXPECT_EQ(pen, nullptr);
    EXPECT_TRUE(m_pen.service().waitUntilClosed());
}

TEST_F(ConnectedPenExports, DisconnectingANullHandleSucceeds)
{
    PenHandle *pen = nullptr;
    EXPECT_EQ(zelDisconnectPen(&pen), ZEL_OK);
    EXPECT_EQ(zelDisconnectPen(nullptr), ZEL_ERR_INVALID_ARGUMENT);
}

TEST_F(ConnectedPenExports, ManagerTellsWhetherThereWasAClient)
{
    PenHandle pen;
    EXPECT_FALSE(manager()->disconnectPen(pen));
    EXPECT_TRUE(manager()->disconnectPen(*m_pen.handle()));
    EXPECT_EQ(m_pen.handle()->client, nullptr);
}

TEST_F(ConnectedPenExports, DisconnectingIsLoggedOnceMoreAtTheClientsEnd)
{
    const LogCapture log;
    EXPECT_TRUE(manager()->disconnectPen(*m_pen.handle()));
    EXPECT_EQ(log.count("[PspClientBase::disconnect] disconnected"), 2u);
}

TEST_F(ConnectedPenExports, HandleOutlivesItsServiceAndReportsTheLoss)
{
    m_pen.service().stopListening();
    HandedText name;
    EXPECT_EQ(zelGetPenProductName(m_pen.handle(), name.out()), ZEL_ERR_COMMUNICATION);
    EXPECT_EQ(zelGetPenProductName(m_pen.handle(), name.out()), ZEL_ERR_COMMUNICATION);
}

TEST_F(ConnectedPenExports, SerialComesWithoutAnExchange)
{
    HandedText serial;
    EXPECT_EQ(zelGetPenSerial(m_pen.handle(), serial.out()), ZEL_OK);
    EXPECT_EQ(serial.text(), kPenSerial);
    EXPECT_TRUE(m_pen.service().requests().empty());
    EXPECT_TRUE(m_log.contains(LogLevel::Debug, "[zelGetPenSerial]"));
}

TEST_F(ConnectedPenExports, SerialRefusesNulls)
{
    char left[] = "left over";
    char *text = left;
    EXPECT_EQ(zelGetPenSerial(nullptr, &text), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(zelGetPenSerial(m_pen.handle(), nullptr), ZEL_ERR_INVALID_ARGUMENT);
}

TEST_F(ConnectedPenExports, ProductNameIsProperty36)
{
    m_pen.service().then(wire::result(wire::string("Quill 3")));
    HandedText name;
    EXPECT_EQ(zelGetPenProductName(m_pen.handle(), name.out()), ZEL_OK);
    EXPECT_EQ(name.text(), "Quill 3");
    EXPECT_EQ(m_pen.service().requests(),
              (std::vector<Bytes>{{0x52, 0x31, 0x47, 0x50, 0x01, 0x00, 0x03, 0x00, 0x24}}));
    EXPECT_FALSE(m_log.contains("[zelGetPenProductName]")) << "this export logs no entry";
}

TEST_F(ConnectedPenExports, ProductNameThatIsNoTextIsShown)
{
    m_pen.service().then(wire::result(wire::int32(7)));
    HandedText name;
    EXPECT_EQ(zelGetPenProductName(m_pen.handle(), name.out()), ZEL_OK);
    EXPECT_EQ(name.text(), "(int32) 7");
}

TEST_F(ConnectedPenExports, MissingProductNameGives1AndANullText)
{
    char left[] = "left over";
    char *name = left;
    m_pen.service().then(wire::result(wire::null()));
    EXPECT_EQ(zelGetPenProductName(m_pen.handle(), &name), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(name, nullptr);
    // An answer without value counts as the null value.
    m_pen.service().then(wire::list({wire::int32(0), {0x0f}}));
    EXPECT_EQ(zelGetPenProductName(m_pen.handle(), &name), ZEL_ERR_INVALID_ARGUMENT);
}

TEST_F(ConnectedPenExports, ProductNameMapsExceptionsToCodes)
{
    const struct {
        std::int32_t status;
        uint32_t code;
        const char *text;
    } cases[] = {
        {-9003, ZEL_ERR_PEN_LOCKED, "[zelGetPenProductName] failed, pen is locked"},
        {-9002, ZEL_ERR_COMMUNICATION, "[zelGetPenProductName] failed"},
        {-9001, ZEL_ERR_UNEXPECTED, "zelGetPenProductName caught an undefined exception."},
        {-4013, ZEL_ERR_UNEXPECTED, "zelGetPenProductName caught an undefined exception."},
        {-1, ZEL_ERR_UNEXPECTED, "zelGetPenProductName caught an undefined exception."},
    };
    for (const auto &oneCase : cases) {
        m_log.clear();
        m_pen.service().then(wire::status(oneCase.status));
        char left[] = "left over";
        char *name = left;
        EXPECT_EQ(zelGetPenProductName(m_pen.handle(), &name), oneCase.code);
        EXPECT_EQ(name, nullptr);
        EXPECT_TRUE(m_log.contains(LogLevel::Error, oneCase.text)) << oneCase.status;
    }
}

TEST_F(ConnectedPenExports, LockedStatusIsTheAnswerAsAByte)
{
    const auto statusOf = [&](const Bytes &answer) {
        m_pen.service().then(answer);
        uint8_t locked = 0x55;
        EXPECT_EQ(zelGetPenLockedStatus(m_pen.handle(), &locked), ZEL_OK);
        return locked;
    };
    EXPECT_EQ(statusOf(wire::result(wire::boolean(true))), 1);
    EXPECT_EQ(statusOf(wire::result(wire::boolean(false))), 0);
    EXPECT_EQ(statusOf(wire::result(wire::byte(7))), 7);
    EXPECT_EQ(statusOf(wire::result(wire::int32(0x0100))), 0); // cut to a byte
    EXPECT_EQ(statusOf(wire::status(3)), 3);                   // a status alone is the answer
    EXPECT_TRUE(m_log.contains(LogLevel::Debug, "[zelGetPenLockedStatus]"));
}

TEST_F(ConnectedPenExports, FailedLockedStatusLeavesLocked)
{
    const struct {
        std::int32_t status;
        uint32_t code;
        const char *text;
    } cases[] = {
        {-9003, ZEL_ERR_PEN_LOCKED, "[TarselPen::isLocked] failed, pen is locked"},
        {-9002, ZEL_ERR_COMMUNICATION, "[TarselPen::isLocked] failed"},
        {-9001, ZEL_ERR_UNEXPECTED, "zelGetPenLockedStatus caught an undefined exception."},
    };
    for (const auto &oneCase : cases) {
        m_log.clear();
        m_pen.service().then(wire::status(oneCase.status));
        uint8_t locked = 0;
        EXPECT_EQ(zelGetPenLockedStatus(m_pen.handle(), &locked), oneCase.code);
        EXPECT_EQ(locked, 1);
        EXPECT_TRUE(m_log.contains(LogLevel::Error, oneCase.text)) << oneCase.status;
    }
    EXPECT_EQ(zelGetPenLockedStatus(m_pen.handle(), nullptr), ZEL_ERR_INVALID_ARGUMENT);
    uint8_t locked = 0;
    EXPECT_EQ(zelGetPenLockedStatus(nullptr, &locked), ZEL_ERR_INVALID_ARGUMENT);
}

} // namespace
