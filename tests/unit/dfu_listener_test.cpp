#include "dfu/dfu_listener.h"

#include "pens/discovery_record.h"
#include "session/manager.h"
#include "support/log_capture.h"
#include "support/rendezvous_server.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>

namespace {

using namespace zel;

constexpr std::string_view kStopped = "*** CDfuRendezvousThread stopped normally ***";

/** The host's side of one listener. */
class DfuHost
{
public:
    static void take(DiscoveryHandle *record, void *context)
    {
        const std::unique_ptr<DiscoveryRecord> owned(static_cast<DiscoveryRecord *>(record));
        auto &host = *static_cast<DfuHost *>(context);
        const std::lock_guard guard(host.m_lock);
        host.m_records.push_back(*owned);
    }

    std::vector<DiscoveryRecord> waitForRecords(std::size_t count)
    {
        for (int i = 0; i < 2000 && records().size() < count; ++i)
            sleepMilliseconds(10);
        return records();
    }
    std::vector<DiscoveryRecord> records()
    {
        const std::lock_guard guard(m_lock);
        return m_records;
    }

private:
    std::mutex m_lock;
    std::vector<DiscoveryRecord> m_records;
};

std::string dfuPen(const std::string &command, const std::string &id)
{
    return rendezvous_wire::message(
        "DVP1\r\n" + command + "\r\npen-id=" + id +
        "\r\nservice-port=49200\r\npen-swver=100\r\npen-dfu=1\r\nacc-prot=DFUPSP10\r\n");
}

RendezvousServer::Conversation announcingDfu(std::vector<std::string> listed,
                                             std::vector<std::string> notified, bool stay = true)
{
    return [=](const loopback::OwnedSocket &client) {
        rendezvous_wire::enumerate(client, listed);
        for (const std::string &each : notified)
            loopback::sendAll(client, each);
        if (stay)
            rendezvous_wire::untilClosed(client);
    };
}

bool waitForText(const LogCapture &log, std::string_view text)
{
    for (int i = 0; i < 2000 && !log.contains(text); ++i)
        sleepMilliseconds(10);
    return log.contains(text);
}

TEST(DfuListener, PensAreAnnouncedWithTheirMode)
{
    RendezvousServer server(
        announcingDfu({dfuPen("", "1")}, {dfuPen("CONNECT", "2"), dfuPen("DISCONNECT", "2")}));
    DfuHost host;
    LogCapture log;
    DfuRendezvousListener listener(server.endpoint());
    listener.setCallbacks(DfuHost::take, DfuHost::take, &host);
    ASSERT_TRUE(listener.StartRendezvous());
    const auto records = host.waitForRecords(3);
    listener.StopRendezvous();
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[0].penId, 1u);
    EXPECT_EQ(records[0].dfu, 1);
    EXPECT_EQ(records[0].servicePort, 49200);
    EXPECT_EQ(records[1].kind, ZEL_PEN_ARRIVED);
    EXPECT_EQ(records[2].kind, ZEL_PEN_DEPARTED);
    EXPECT_TRUE(log.contains(LogLevel::Debug, "*** CDfuRendezvousThread started ***"));
    EXPECT_TRUE(log.contains(LogLevel::Debug, "DfuRendezvousListener::handleNotifications()"));
    EXPECT_TRUE(log.contains(LogLevel::Info, "DFU Pen supports PSP version 1.0. R10DFUPen"));
    EXPECT_EQ(log.count(kStopped), 1u);
}

TEST(DfuListener, SubscribesInItsOwnMode)
{
    std::string subscription;
    {
        RendezvousServer server([&](const loopback::OwnedSocket &client) {
            subscription = loopback::receiveExactly(client, 22);
        });
        DfuRendezvousListener listener(server.endpoint());
        ASSERT_TRUE(listener.StartRendezvous());
        EXPECT_TRUE(server.waitForConnections(1));
        sleepMilliseconds(100);
        listener.StopRendezvous();
    }
    EXPECT_EQ(subscription, rendezvous_wire::kSubscribeDfu);
}

// Unlike the ordinary listener it does not connect again.
TEST(DfuListener, EndsWithTheFirstRendezvousFailure)
{
    RendezvousServer server(announcingDfu({dfuPen("", "1")}, {}, false));
    DfuHost host;
    LogCapture log;
    DfuRendezvousListener listener(server.endpoint());
    listener.setCallbacks(DfuHost::take, DfuHost::take, &host);
    ASSERT_TRUE(listener.StartRendezvous());
    EXPECT_TRUE(waitForText(log, kStopped));
    EXPECT_TRUE(log.contains(LogLevel::Error,
                             "DfuRendezvousListener terminating because: Process is being shut down."));
    sleepMilliseconds(50);
    EXPECT_EQ(server.connections(), 1);
    EXPECT_TRUE(listener.StopRendezvous());
    EXPECT_EQ(host.records().size(), 1u);
}

TEST(DfuListener, OddIdIsLoggedUnderItsOwnName)
{
    RendezvousServer server(announcingDfu({}, {dfuPen("CONNECT", "697800000000"), dfuPen("CONNECT", "1")}));
    DfuHost host;
    LogCapture log;
    DfuRendezvousListener listener(server.endpoint());
    listener.setCallbacks(DfuHost::take, DfuHost::take, &host);
    ASSERT_TRUE(listener.StartRendezvous());
    EXPECT_EQ(host.waitForRecords(1).size(), 1u);
    listener.StopRendezvous();
    EXPECT_TRUE(log.contains(
        LogLevel::Error, "[DfuRendezvousListener] processing rendezvous event failed (0x0000697800000000)"));
}

TEST(DfuListener, CallbackThatDoesNotReturnIsKilledUnderItsOwnName)
{
    RendezvousServer server(announcingDfu({dfuPen("", "1")}, {}));
    LogCapture log;
    static std::atomic<bool> s_called;
    s_called = false;
    DfuRendezvousListener listener(server.endpoint());
    const auto block = [](DiscoveryHandle *record, void *) {
        delete static_cast<DiscoveryRecord *>(record);
        s_called = true;
        sleepMilliseconds(600000);
    };
    listener.setCallbacks(block, block, nullptr);
    ASSERT_TRUE(listener.StartRendezvous());
    for (int i = 0; i < 2000 && !s_called; ++i)
        sleepMilliseconds(10);
    EXPECT_TRUE(listener.StopRendezvous());
    EXPECT_TRUE(log.contains(LogLevel::Debug, "*** CDfuRendezvousThread refused to stop and was killed ***"));
}

TEST(DfuListener, StopsWithoutTheKillAtEveryMoment)
{
    RendezvousServer server(announcingDfu({dfuPen("", "1")}, {dfuPen("CONNECT", "2")}));
    for (const net::Endpoint &endpoint : {server.endpoint(), loopback::deadEndpoint()}) {
        const LogCapture log;
        DfuHost host;
        DfuRendezvousListener listener(endpoint);
        listener.setCallbacks(DfuHost::take, DfuHost::take, &host);
        for (int round = 0; round < 50; ++round) {
            ASSERT_TRUE(listener.StartRendezvous());
            if (round % 2 != 0)
                sleepMilliseconds(static_cast<std::uint32_t>(round % 20));
            ASSERT_TRUE(listener.StopRendezvous());
        }
        EXPECT_EQ(log.count(kStopped), 50u);
    }
}

TEST(DfuListener, StopsWithoutTheKillWhileAConnectHangs)
{
    const loopback::FullListener full;
    const LogCapture log;
    DfuRendezvousListener listener(full.endpoint());
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(listener.StartRendezvous());
        sleepMilliseconds(static_cast<std::uint32_t>(round % 10));
        ASSERT_TRUE(listener.StopRendezvous());
    }
    EXPECT_EQ(log.count(kStopped), 20u);
}

TEST(DfuListener, ThreadThatAnExceptionOfAnotherKindEndsSaysThatItStopped)
{
    RendezvousServer server(announcingDfu({dfuPen("", "1")}, {}));
    LogCapture log;
    DfuRendezvousListener listener(server.endpoint());
    const auto fail = [](DiscoveryHandle *record, void *) {
        delete static_cast<DiscoveryRecord *>(record);
        throw 42;
    };
    listener.setCallbacks(fail, fail, nullptr);
    ASSERT_TRUE(listener.StartRendezvous());
    EXPECT_TRUE(waitForText(log, kStopped));
    EXPECT_TRUE(listener.StopRendezvous());
    EXPECT_EQ(log.count(kStopped), 1u);
}

TEST(DfuListener, FailuresInCallbacksAreLoggedUnderItsOwnName)
{
    RendezvousServer server(
        announcingDfu({}, {dfuPen("CONNECT", "1"), dfuPen("DISCONNECT", "1"), dfuPen("CONNECT", "2")}));
    LogCapture log;
    DfuRendezvousListener listener(server.endpoint());
    const auto arrived = [](DiscoveryHandle *record, void *) {
        delete static_cast<DiscoveryRecord *>(record);
        throw ZELException("full");
    };
    const auto departed = [](DiscoveryHandle *record, void *) {
        delete static_cast<DiscoveryRecord *>(record);
        throw PenNotConnectedException("gone");
    };
    listener.setCallbacks(arrived, departed, nullptr);
    ASSERT_TRUE(listener.StartRendezvous());
    EXPECT_TRUE(waitForText(log, "[DfuRendezvousListener] pen undocked failed (gone)"));
    EXPECT_TRUE(waitForText(log, "[DfuRendezvousListener] creating pen failed (full)"));
    listener.StopRendezvous();
}

TEST(DfuListener, RunsBesideTheOrdinaryListener)
{
    RendezvousServer dfuServer(announcingDfu({dfuPen("", "1")}, {dfuPen("CONNECT", "2")}));
    RendezvousServer server(
        announcingDfu({rendezvous_wire::pen("", "3")}, {rendezvous_wire::pen("CONNECT", "4")}));
    DfuHost dfuHost;
    DfuHost host;
    DfuRendezvousListener listener(dfuServer.endpoint());
    CZELManager manager(server.endpoint());
    listener.setCallbacks(DfuHost::take, DfuHost::take, &dfuHost);
    manager.setCallbacks(DfuHost::take, DfuHost::take, &host);
    ASSERT_TRUE(listener.StartRendezvous());
    ASSERT_TRUE(manager.StartRendezvous());
    const auto dfuRecords = dfuHost.waitForRecords(2);
    const auto records = host.waitForRecords(2);
    listener.StopRendezvous();
    manager.StopRendezvous();
    ASSERT_EQ(dfuRecords.size(), 2u);
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(dfuRecords[0].penId, 1u);
    EXPECT_EQ(dfuRecords[1].penId, 2u);
    EXPECT_EQ(records[0].penId, 3u);
    EXPECT_EQ(records[1].penId, 4u);
}

} // namespace
