#include "session/manager.h"

#include "pens/discovery_record.h"
#include "support/held_clock.h"
#include "support/log_capture.h"
#include "support/rendezvous_server.h"
#include "sys/clock.h"
#include "sys/event.h"
#include "sys/exceptions.h"
#include "sys/thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

using zel::CZELManager;
using zel::DiscoveryRecord;
using zel::LogLevel;

namespace {

constexpr std::string_view kKilled = "*** RendezvousThread refused to stop and was killed ***";
constexpr std::string_view kStopped = "*** RendezvousThread stopped normally ***";

/** The host's side: keeps what the callbacks are given. */
class Host
{
public:
    std::function<void()> onArrival = [] {};
    std::function<void()> onDeparture = [] {};

    static void arrived(DiscoveryHandle *record, void *context)
    {
        static_cast<Host *>(context)->keep(record);
        static_cast<Host *>(context)->onArrival();
    }
    static void departed(DiscoveryHandle *record, void *context)
    {
        static_cast<Host *>(context)->keep(record);
        static_cast<Host *>(context)->onDeparture();
    }

    bool waitForRecords(std::size_t count)
    {
        std::unique_lock guard(m_lock);
        return m_changed.wait_for(guard, std::chrono::seconds(20), [&] { return m_records.size() >= count; });
    }
    std::vector<DiscoveryRecord> records()
    {
        const std::lock_guard guard(m_lock);
        return m_records;
    }

private:
    void keep(DiscoveryHandle *record)
    {
        const std::unique_ptr<DiscoveryRecord> owned(static_cast<DiscoveryRecord *>(record));
        const std::lock_guard guard(m_lock);
        m_records.push_back(*owned);
        m_changed.notify_all();
    }

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<DiscoveryRecord> m_records;
};

/** A manager that listens to a server of the test. */
class Listening
{
public:
    Listening(const zel::net::Endpoint &server, Host &host) : manager(server)
    {
        manager.setCallbacks(Host::arrived, Host::departed, &host);
        EXPECT_TRUE(manager.StartRendezvous());
    }
    ~Listening() { manager.StopRendezvous(); }

    CZELManager manager;
};

RendezvousServer::Conversation announcing(std::vector<std::string> listed,
                                          std::vector<std::string> notified = {})
{
    return [=](const loopback::OwnedSocket &client) {
        rendezvous_wire::enumerate(client, listed);
        for (const std::string &each : notified)
            loopback::sendAll(client, each);
        rendezvous_wire::untilClosed(client);
    };
}

std::string unsupportedPen(const std::string &command)
{
    return rendezvous_wire::message("RVP1\r\n" + command +
                                    "\r\npen-id=5\r\nservice-port=1\r\nacc-prot=PSP10\r\n");
}

bool eventually(const std::function<bool()> &condition)
{
    for (int i = 0; i < 2000; ++i) {
        if (condition())
            return true;
        zel::sleepMilliseconds(10);
    }
    return false;
}

} // namespace

TEST(RendezvousListener, PresentPensAreAnnouncedWithEveryField)
{
    RendezvousServer server(announcing({rendezvous_wire::pen("", "12300abcdef", "49160")}));
    Host host;
    const Listening listening(server.endpoint(), host);
    ASSERT_TRUE(host.waitForRecords(1));
    const DiscoveryRecord record = host.records()[0];
    EXPECT_EQ(record.kind, 0u);
    EXPECT_EQ(record.penId, 0x12300ABCDEFu);
    EXPECT_EQ(record.serial, "AKZ-AQ7-APS-AC");
    EXPECT_EQ(record.brand, "Inkwell");
    EXPECT_EQ(record.swVersion, 0x0503);
    EXPECT_EQ(record.serviceAddress, server.endpoint().address);
    EXPECT_EQ(record.servicePort, 49160);
    EXPECT_EQ(record.vendorId, 0x1209);
    EXPECT_EQ(record.productId, 0x0001);
    EXPECT_EQ(record.dfu, 0);
}

// Hosts rely on the server's order; behind a pen that is not supported nothing is announced.
TEST(RendezvousListener, UnsupportedPenHidesThoseBehindItInTheList)
{
    RendezvousServer server(
        announcing({rendezvous_wire::pen("", "1"), unsupportedPen(""), rendezvous_wire::pen("", "2")},
                   {rendezvous_wire::pen("CONNECT", "3")}));
    LogCapture log;
    Host host;
    const Listening listening(server.endpoint(), host);
    ASSERT_TRUE(host.waitForRecords(2));
    EXPECT_EQ(host.records()[0].penId, 1u);
    EXPECT_EQ(host.records()[1].penId, 3u);
    EXPECT_TRUE(log.contains(LogLevel::Info, "Unsuported pen enumerated."));
}

// Version 4.0 is supported up to a software version, and this is above it.
TEST(RendezvousListener, PenOfVersion40WithNewerSoftwareFiresNoCallback)
{
    const auto newerPen = [](const std::string &command) {
        return rendezvous_wire::message("RVP1\r\n" + command + "\r\npen-id=5\r\nservice-port=1\r\n" +
                                        "pen-swver=0600\r\nacc-prot=PSP40\r\n");
    };
    RendezvousServer server(announcing(
        {newerPen("")}, {newerPen("CONNECT"), newerPen("DISCONNECT"), rendezvous_wire::pen("CONNECT", "1")}));
    LogCapture log;
    Host host;
    const Listening listening(server.endpoint(), host);
    ASSERT_TRUE(host.waitForRecords(1));
    EXPECT_EQ(host.records()[0].penId, 1u);
    EXPECT_EQ(log.count("Unsuported pen enumerated."), 1u);
    EXPECT_EQ(log.count("Unsuported pen docked."), 1u);
    EXPECT_EQ(log.count("Unsuported pen undocked."), 1u);
}

TEST(RendezvousListener, ArrivalAndDepartureReachTheirCallbacks)
{
    LogCapture log;
    RendezvousServer server(
        announcing({}, {rendezvous_wire::pen("CONNECT", "1"), rendezvous_wire::pen("DISCONNECT", "1")}));
    Host host;
    const Listening listening(server.endpoint(), host);
    ASSERT_TRUE(host.waitForRecords(2));
    const DiscoveryRecord departure = host.records()[1];
    EXPECT_EQ(host.records()[0].kind, 0u);
    EXPECT_EQ(departure.kind, 1u);
    EXPECT_EQ(departure.serviceAddress, 0u);
    EXPECT_EQ(departure.servicePort, 0);
    EXPECT_EQ(departure.brand, "Inkwell");
    EXPECT_EQ(departure.vendorId, 0x1209);
    EXPECT_TRUE(log.contains(LogLevel::Debug, "RendezvousListener::handleNotifications()"));
    EXPECT_TRUE(log.contains(LogLevel::Debug, "New AbstractPen object created, but not added to PenManager"));
    EXPECT_EQ(log.count("Pen connected 49153"), 2u) << "as of the departure";
    EXPECT_TRUE(eventually([&] { return log.count("Pen disconnected 49153") == 2; }))
        << "once where it is parsed, once where it is handled";
}

TEST(RendezvousListener, UnsupportedPensAndOddMessagesAreOnlyLogged)
{
    RendezvousServer server(
        announcing({}, {unsupportedPen("CONNECT"), unsupportedPen("DISCONNECT"),
                        rendezvous_wire::message("RVP1\r\nHELLO\r\n"),
                        rendezvous_wire::message("RVP1\r\nCONNECT\r\npen-id=697800000000\r\n"),
                        rendezvous_wire::pen("CONNECT", "4")}));
    LogCapture log;
    Host host;
    const Listening listening(server.endpoint(), host);
    ASSERT_TRUE(host.waitForRecords(1));
    EXPECT_EQ(host.records()[0].penId, 4u);
    EXPECT_TRUE(log.contains(LogLevel::Info, "Unsuported pen docked."));
    EXPECT_TRUE(log.contains(LogLevel::Info, "Unsuported pen undocked."));
    EXPECT_TRUE(log.contains(LogLevel::Error, "Commmand not known"));
    EXPECT_TRUE(log.contains(LogLevel::Error,
                             "[RendezvousListener] processing rendezvous event failed (0x0000697800000000)"));
}

TEST(RendezvousListener, ListWithAnIdThatIsNoneAnnouncesNothingAndGoesOn)
{
    RendezvousServer server(
        announcing({rendezvous_wire::pen("", "1"), rendezvous_wire::pen("", "697800000000")},
                   {rendezvous_wire::pen("CONNECT", "2")}));
    LogCapture log;
    Host host;
    const Listening listening(server.endpoint(), host);
    ASSERT_TRUE(host.waitForRecords(1));
    EXPECT_EQ(host.records()[0].penId, 2u);
    EXPECT_TRUE(log.contains(LogLevel::Error,
                             "[RendezvousListener] processing rendezvous event failed (0x0000697800000000)"));
}

// The test is made on the one callback, the call goes to the other.
TEST(RendezvousListener, WithoutArrivalCallbackDeparturesAreNotToldEither)
{
    RendezvousServer server(announcing({}, {rendezvous_wire::pen("DISCONNECT", "1")}));
    LogCapture log;
    Host host;
    CZELManager manager(server.endpoint());
    manager.setCallbacks(nullptr, Host::departed, &host);
    ASSERT_TRUE(manager.StartRendezvous());
    EXPECT_TRUE(eventually([&] { return log.count("Pen disconnected 49153") == 2; }));
    manager.StopRendezvous();
    EXPECT_TRUE(host.records().empty());
}

TEST(RendezvousListener, ConnectsAgainWhenTheServerWentAway)
{
    std::atomic<int> round{0};
    RendezvousServer server([&](const loopback::OwnedSocket &client) {
        rendezvous_wire::enumerate(client, {rendezvous_wire::pen("", std::to_string(++round))});
        if (round >= 3)
            rendezvous_wire::untilClosed(client);
    });
    LogCapture log;
    Host host;
    const Listening listening(server.endpoint(), host);
    ASSERT_TRUE(host.waitForRecords(3));
    EXPECT_EQ(host.records()[2].penId, 3u);
    EXPECT_GE(log.count("Rendezvous server port was closed."), 2u);
    EXPECT_GE(log.count("RendezvousListener terminating because: Process is being shut down."), 2u);
}

TEST(RendezvousListener, RestartAnnouncesThePensAgain)
{
    RendezvousServer server(announcing({rendezvous_wire::pen("", "1")}));
    Host host;
    Listening listening(server.endpoint(), host);
    ASSERT_TRUE(host.waitForRecords(1));
    EXPECT_TRUE(listening.manager.StopRendezvous());
    EXPECT_TRUE(listening.manager.StartRendezvous());
    EXPECT_TRUE(host.waitForRecords(2));
}

TEST(RendezvousListener, StopWithoutAStartReturns)
{
    CZELManager manager(loopback::deadEndpoint());
    EXPECT_TRUE(manager.StopRendezvous());
}

// A second start finds a thread object: it is killed outright, as documented.
TEST(RendezvousListener, StartOverARunningThreadReplacesIt)
{
    RendezvousServer server(announcing({rendezvous_wire::pen("", "1")}));
    Host host;
    Listening listening(server.endpoint(), host);
    ASSERT_TRUE(server.waitForConnections(1));
    listening.manager.StopRendezvous();
    EXPECT_TRUE(listening.manager.StartRendezvous());
    EXPECT_TRUE(host.waitForRecords(1));
}

TEST(RendezvousListener, CallbackThatThrowsEndsTheThreadAndNotTheProcess)
{
    RendezvousServer server(announcing({rendezvous_wire::pen("", "1")}));
    LogCapture log;
    Host host;
    host.onArrival = [] { throw 42; };
    {
        const Listening listening(server.endpoint(), host);
        ASSERT_TRUE(host.waitForRecords(1));
    }
    EXPECT_EQ(log.count(kKilled), 0u);
    EXPECT_EQ(log.count(kStopped), 0u) << "it ended by the exception";
}

// Exceptions of the library's own kinds leave the listener at work.
TEST(RendezvousListener, FailureInACallbackIsLoggedAndTheNextPenAnnounced)
{
    RendezvousServer server(
        announcing({}, {rendezvous_wire::pen("CONNECT", "1"), rendezvous_wire::pen("DISCONNECT", "1"),
                        rendezvous_wire::pen("CONNECT", "2")}));
    LogCapture log;
    Host host;
    host.onArrival = [] { throw zel::ZELException("full"); };
    host.onDeparture = [] { throw zel::PenNotConnectedException("gone"); };
    const Listening listening(server.endpoint(), host);
    ASSERT_TRUE(host.waitForRecords(3));
    EXPECT_EQ(host.records()[2].penId, 2u);
    EXPECT_TRUE(log.contains(LogLevel::Error, "[RendezvousListener] creating pen failed (full)"));
    EXPECT_TRUE(log.contains(LogLevel::Error, "[RendezvousListener] pen undocked failed (gone)"));
}

namespace {

/** Shows what no server can bring about. */
class BareManager : public CZELManager
{
public:
    BareManager() : CZELManager(loopback::deadEndpoint()) {}
    using CZELManager::handleEvent;
    void dropClient() { m_pRVClient.reset(); }
};

} // namespace

TEST(RendezvousListener, EventOfASocketShutDownIsOnlyLogged)
{
    LogCapture log;
    zel::RendezvousEvent event;
    event.command = zel::RendezvousCommand::SocketShutDown;
    BareManager().handleEvent(event);
    EXPECT_TRUE(log.contains(LogLevel::Warning, "Rendezvous socket shutdown signalled."));
    EXPECT_FALSE(log.contains("Commmand not known"));
}

TEST(RendezvousListener, StopWithoutAClientSaysSo)
{
    LogCapture log;
    BareManager manager;
    manager.dropClient();
    EXPECT_TRUE(manager.StopRendezvous());
    EXPECT_TRUE(log.contains(LogLevel::Debug, "CZELManager::StopRendezvous: m_pRVClient == NULL"));
}

// ---- time ----------------------------------------------------------------------------------------

TEST(RendezvousListener, PausesBetweenTwoNotifications)
{
    RendezvousServer server(
        announcing({}, {rendezvous_wire::pen("CONNECT", "1"), rendezvous_wire::pen("CONNECT", "2")}));
    Host host;
    std::unique_ptr<Listening> listening; // outlives the clock, which would hold its end
    HeldClock clock;
    listening = std::make_unique<Listening>(server.endpoint(), host);
    ASSERT_TRUE(host.waitForRecords(1));
    ASSERT_TRUE(clock.waitForWaiting(10));
    EXPECT_EQ(host.records().size(), 1u);
    clock.pass(10);
    EXPECT_TRUE(host.waitForRecords(2));
}

namespace {

/** A host whose callback stays until it is let go. */
class StayingHost : public Host
{
public:
    StayingHost()
    {
        onArrival = [this] { mayReturn.wait(zel::kInfinite); };
    }

    zel::LEvent mayReturn{true, false};
};

std::future<void> stopping(CZELManager &manager)
{
    return std::async(std::launch::async, [&] { EXPECT_TRUE(manager.StopRendezvous()); });
}

bool hasEnded(const std::future<void> &call)
{
    return call.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
}

} // namespace

TEST(RendezvousStop, GivesTheThreadFiveSeconds)
{
    RendezvousServer server(announcing({rendezvous_wire::pen("", "1")}));
    LogCapture log;
    StayingHost host;
    CZELManager manager(server.endpoint());
    manager.setCallbacks(Host::arrived, Host::departed, &host);
    ASSERT_TRUE(manager.StartRendezvous());
    ASSERT_TRUE(host.waitForRecords(1));
    std::future<void> stop;
    HeldClock clock;
    stop = stopping(manager);
    ASSERT_TRUE(clock.waitForWaiting(5000));
    clock.pass(4999);
    host.mayReturn.set();
    EXPECT_TRUE(hasEnded(stop));
    EXPECT_EQ(log.count(kKilled), 0u);
    EXPECT_EQ(log.count(kStopped), 1u);
}

namespace {

zel::LEvent *s_mayReturn;

/** A clock by which a stop's time is over in the moment in which the thread ends. */
bool endInTheLastMoment(zel::LEvent *event, std::uint32_t milliseconds)
{
    if (milliseconds != CZELManager::kStopTimeoutMilliseconds)
        return event != nullptr && event->wait(milliseconds);
    s_mayReturn->set();
    EXPECT_TRUE(event->wait(20000));
    return false;
}

} // namespace

TEST(RendezvousStop, ThreadThatEndsInTheLastMomentIsNotCalledKilled)
{
    RendezvousServer server(announcing({rendezvous_wire::pen("", "1")}));
    LogCapture log;
    StayingHost host;
    s_mayReturn = &host.mayReturn;
    CZELManager manager(server.endpoint());
    manager.setCallbacks(Host::arrived, Host::departed, &host);
    ASSERT_TRUE(manager.StartRendezvous());
    ASSERT_TRUE(host.waitForRecords(1));
    zel::setTimedWait(endInTheLastMoment);
    EXPECT_TRUE(manager.StopRendezvous());
    zel::setTimedWait(nullptr);
    EXPECT_EQ(log.count(kKilled), 0u);
    EXPECT_EQ(log.count(kStopped), 1u);
}

// ---- a stop is never lost ------------------------------------------------------------------------

namespace {

struct StopCase {
    const char *name;
    RendezvousServer::Conversation conversation;
};

void silent(const loopback::OwnedSocket &client)
{
    rendezvous_wire::untilClosed(client);
}

void silentAfterHalfAMessage(const loopback::OwnedSocket &client)
{
    loopback::receiveExactly(client, 27);
    loopback::sendAll(client, "RVP1\r\npen-id=");
    rendezvous_wire::untilClosed(client);
}

void closingAtOnce(const loopback::OwnedSocket &) {}

void flooding(const loopback::OwnedSocket &client)
{
    rendezvous_wire::enumerate(client, {});
    for (int i = 0; i < 50; ++i)
        loopback::sendAll(client, rendezvous_wire::pen("CONNECT", "1"));
    rendezvous_wire::untilClosed(client);
}

const StopCase kStopCases[] = {
    {"Enumerating", silent},
    {"InTheMiddleOfAMessage", silentAfterHalfAMessage},
    {"WaitingForANotification", announcing({})},
    {"ServerThatClosesAtOnce", closingAtOnce},
    {"Flooded", flooding},
};

class RendezvousStop : public testing::TestWithParam<StopCase>
{
};

void stopRepeatedly(const zel::net::Endpoint &endpoint, int rounds)
{
    const LogCapture log;
    Host host;
    CZELManager manager(endpoint);
    manager.setCallbacks(Host::arrived, Host::departed, &host);
    for (int round = 0; round < rounds; ++round) {
        ASSERT_TRUE(manager.StartRendezvous());
        // Every delay hits another place, from before the first socket to the pause between messages.
        if (round % 4 != 0)
            std::this_thread::sleep_for(std::chrono::microseconds(round % 40 * 350));
        ASSERT_TRUE(manager.StopRendezvous());
    }
    EXPECT_EQ(log.count(kKilled), 0u);
    EXPECT_EQ(log.count(kStopped), static_cast<std::size_t>(rounds));
}

} // namespace

TEST_P(RendezvousStop, ReturnsWithoutTheKillAtEveryMoment)
{
    RendezvousServer server(GetParam().conversation);
    stopRepeatedly(server.endpoint(), 120);
}

INSTANTIATE_TEST_SUITE_P(While, RendezvousStop, testing::ValuesIn(kStopCases),
                         [](const auto &stop) { return std::string(stop.param.name); });

TEST(RendezvousStop, ReturnsWithoutTheKillWhileTheServerIsAbsent)
{
    stopRepeatedly(loopback::deadEndpoint(), 120);
}

TEST(RendezvousStop, ReturnsWithoutTheKillWhileAConnectHangs)
{
    const loopback::FullListener full;
    stopRepeatedly(full.endpoint(), 120);
}

TEST(RendezvousStop, CallbackThatDoesNotReturnIsKilled)
{
    static std::atomic<bool> s_wentOn;
    s_wentOn = false;
    RendezvousServer server(announcing({rendezvous_wire::pen("", "1")}));
    LogCapture log;
    // What a killed thread stood in is never released: the host lives on.
    static Host s_host;
    s_host.onArrival = [] {
        zel::LEvent never(true, false);
        never.wait(zel::kInfinite);
        s_wentOn = true;
    };
    CZELManager manager(server.endpoint());
    manager.setCallbacks(Host::arrived, Host::departed, &s_host);
    ASSERT_TRUE(manager.StartRendezvous());
    ASSERT_TRUE(s_host.waitForRecords(1));
    std::future<void> stop;
    HeldClock clock;
    stop = stopping(manager);
    ASSERT_TRUE(clock.waitForWaiting(5000));
    clock.pass(5000);
    EXPECT_TRUE(hasEnded(stop));
    EXPECT_TRUE(log.contains(LogLevel::Debug, kKilled));
    EXPECT_FALSE(s_wentOn);
}

// The enumeration of many pens must not outlast the limit of a stop.
TEST(RendezvousStop, WaitsForOneCallbackOnlyHoweverManyPensThereAre)
{
    std::vector<std::string> pens;
    for (int i = 1; i <= 100; ++i)
        pens.push_back(rendezvous_wire::pen("", std::to_string(i)));
    RendezvousServer server(announcing(pens));
    const LogCapture log;
    Host host;
    host.onArrival = [] { zel::sleepMilliseconds(100); };
    {
        const Listening listening(server.endpoint(), host);
        ASSERT_TRUE(host.waitForRecords(2));
    }
    EXPECT_EQ(log.count(kKilled), 0u);
    EXPECT_LT(host.records().size(), 50u);
}

namespace {

std::atomic<int> s_waits;

bool waitAndTell(zel::LEvent *event, std::uint32_t milliseconds)
{
    if (milliseconds == zel::RendezvousClient::kRetryMilliseconds) // the kill of the thread before waits too
        ++s_waits;
    if (event != nullptr)
        return event->wait(milliseconds);
    zel::sleepMilliseconds(milliseconds);
    return false;
}

} // namespace

// A start that finds a thread at work kills it. (Not in the middle of a call of the system, though: under
// Wine that leaves locks of the system behind.)
TEST(RendezvousStop, StartOverAThreadAtWorkReplacesIt)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer holds the kill's signal back: the old thread goes on beside the new one";
#endif
    RendezvousServer server(announcing({rendezvous_wire::pen("", "1")}));
    for (const bool serverIsThere : {true, false}) {
        Host host;
        CZELManager manager(serverIsThere ? server.endpoint() : loopback::deadEndpoint());
        manager.setCallbacks(Host::arrived, Host::departed, &host);
        LogCapture log;
        zel::setTimedWait(waitAndTell);
        for (int round = 0; round < 5; ++round) {
            log.clear();
            s_waits = 0;
            ASSERT_TRUE(manager.StartRendezvous());
            ASSERT_TRUE(eventually([&] {
                return serverIsThere ? log.contains("RendezvousClient::waitForRendezvousEvent()")
                                     : s_waits > 0;
            }));
            zel::sleepMilliseconds(20); // waiting for a notification, or for the server
        }
        EXPECT_TRUE(manager.StopRendezvous());
        zel::setTimedWait(nullptr);
        EXPECT_EQ(host.records().size(), serverIsThere ? 5u : 0u);
    }
}
