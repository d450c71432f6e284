// The listener's thread when a call to the system fails: the process lives, the listener does what it does
// after such a failure, and the library can be stopped and started again.
#include "allocation_watch.h"
#include "failing_call.h"
#include "listener_modes.h"
#include "support/process_counts.h"

#include "pens/discovery_record.h"
#include "support/rendezvous_server.h"
#include "sys/log.h"
#include "sys/thread.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <mutex>
#include <optional>

namespace faults {

namespace {

constexpr int kMostMilliseconds = 20000;

// The messages arrive byte by byte: not every byte needs each error.
constexpr std::size_t kListenerStride = 37;

// What the listener's thread is to meet; it arms itself when its first text tells that it has started.
const CallFailure *s_failure = nullptr; // none: its calls are counted
std::size_t s_n = 0;
std::size_t s_times = 0;
std::atomic<std::size_t> s_failed;
std::atomic<bool> s_ended;

// What it is seen to do.
std::atomic<int> s_arrivals;
std::atomic<int> s_departures;
std::atomic<int> s_connections;
std::mutex s_lock;
std::vector<std::string> s_errors;

// What the server is to expect of it.
constexpr int kNone = -1;
std::atomic<int> s_connectionWithoutList;
std::atomic<int> s_waitingConnection; // by which the listener only learns that the server is there
std::atomic<std::size_t> s_counts[std::numeric_limits<std::uint8_t>::max()];

bool is(const CallFailure &failure, std::initializer_list<const char *> calls)
{
    for (const char *call : calls)
        if (std::strcmp(failure.call, call) == 0)
            return true;
    return false;
}

bool failsToConnect(const CallFailure &failure)
{
    return failure.effect == CallFailure::Effect::Failure &&
           is(failure, {"socket", "WSASocketW", "connect", "getsockopt", "ioctlsocket", "select"});
}

/** What lies upon the listener's thread from its first text on. No thread_local object: MinGW frees the
 * memory of those before it calls their destructors. */
class OnListenerThread
{
public:
    OnListenerThread()
    {
        if (s_failure != nullptr)
            m_failing.emplace(*s_failure, s_n, s_times);
        else
            m_count.emplace();
    }

    void note() const
    {
        if (m_failing)
            s_failed = m_failing->failed();
        for (std::size_t i = 0; m_count && i < callFailures().size(); ++i)
            s_counts[i] = m_count->of(callFailures()[i].call);
    }

private:
    std::optional<FailingCall> m_failing;
    std::optional<CallCount> m_count;
    AllocationWatch m_watch;
};

std::optional<OnListenerThread> s_onThread;
constinit thread_local bool t_isListenerThread = false;

void noteError(std::string_view text)
{
    const std::lock_guard guard(s_lock);
    s_errors.emplace_back(text);
}

void onLog(zel::LogLevel level, std::string_view text)
{
    if (!s_onThread && (text == kPens.started || text == kFirmware.started)) {
        s_onThread.emplace();
        t_isListenerThread = true;
    }
    if (!t_isListenerThread)
        return;
    s_onThread->note();
    if (level == zel::LogLevel::Error)
        noteError(text);
    if (text.ends_with("stopped normally ***"))
        s_ended = true;
}

void onAnnouncement(DiscoveryHandle *record, void *)
{
    const bool arrived = record->kind == ZEL_PEN_ARRIVED;
    zelFreeDiscoveryHandle(&record);
    ++(arrived ? s_arrivals : s_departures);
}

enum class ListEnds { Never, Yes };

/** Unless the client does not come to ask for it. */
void giveList(const loopback::OwnedSocket &client, ListEnds ends)
{
    using namespace rendezvous_wire;
    if (s_connections - 1 == s_connectionWithoutList)
        return;
    if (loopback::receiveExactly(client, kList.size()).size() != kList.size())
        return;
    loopback::sendAll(client, pen("CONNECT", "0000012300abcdef"));
    loopback::sendAll(client, pen("CONNECT", "0000012300abcdf0"));
    if (ends == ListEnds::Yes)
        loopback::sendAll(client, message("ENDLIST"));
}

std::string departure()
{
    return rendezvous_wire::pen("DISCONNECT", "0000012300abcdf1");
}

/** Two pens are there; a third comes, and goes. Its departure is told twice: a failure may spoil a message.
 */
void announce(const loopback::OwnedSocket &client)
{
    using namespace rendezvous_wire;
    giveList(client, ListEnds::Yes);
    loopback::sendAll(client, pen("CONNECT", "0000012300abcdf1"));
    loopback::sendAll(client, departure());
    loopback::sendAll(client, departure());
    untilClosed(client);
}

/** As long as a subscription. The server serves one connection after the other: when it has answered, it has
 *  done with those that came before. */
const std::string kAreYouDone(rendezvous_wire::kSubscribe.size(), '?');

/** The ordinary listener comes back to a server that went in its list; that of the firmware-upgrade mode
 *  does not. A connection without a subscription does not count. */
RendezvousServer::Conversation conversationFor(const ListenerMode &mode)
{
    return [goesOnce = mode.name == kPens.name](const loopback::OwnedSocket &client) {
        using rendezvous_wire::kSubscribe;
        const std::string first = loopback::receiveExactly(client, kSubscribe.size());
        if (first == kAreYouDone)
            loopback::sendAll(client, "!");
        if (first == kAreYouDone || first.size() != kSubscribe.size())
            return;
        if (s_connections == s_waitingConnection)
            s_waitingConnection = kNone;
        else if (s_connections++ == 0 && goesOnce)
            giveList(client, ListEnds::Never);
        else
            announce(client);
    };
}

class FailingListenerCall : public testing::TestWithParam<ListenerMode>
{
protected:
    void SetUp() override
    {
        zel::setLogObserver(onLog);
        const zel::test::ProcessCounts atRest = zel::test::countProcess();
        listenUntilDeparture(); // what the process holds for good is there then
        // The server may close its end a moment later.
        m_before = zel::test::countsExactly() ? zel::test::countProcess(atRest) : atRest;
        m_allocationsBefore = outstandingAllocations();
        listenUntilDeparture();
        for (std::size_t i = 0; i < callFailures().size(); ++i)
            m_uses.push_back(s_counts[i]);
    }

    void TearDown() override
    {
        std::printf("[ matrix   ] %6zu failing calls\n", m_made);
        zel::setLogObserver(nullptr);
    }

    static bool isPens() { return GetParam().name == kPens.name; }

    /** check(failure, n) for each use of each call, with each error. */
    template <class Check>
    void forEachUse(Check check)
    {
        for (std::size_t i = 0; i < callFailures().size() && !HasFailure(); ++i) {
            const CallFailure &failure = callFailures()[i];
            const bool receives = is(failure, {"recv"});
            // The listener may be stopped before it has received the last message.
            const std::size_t uses = receives ? m_uses[i] - departure().size() : m_uses[i];
            for (std::size_t n = receives ? 1 + i % 7 : 1; n <= uses && !HasFailure();
                 n += receives ? kListenerStride : 1) {
                SCOPED_TRACE(nameOf(failure) + ", use " + std::to_string(n));
                ++m_made;
                check(failure, n);
            }
        }
    }

    void listen(const CallFailure &failure, std::size_t n, std::size_t times)
    {
        s_failure = &failure;
        s_n = n;
        s_times = times;
        // Each connection sends a subscription and asks for the list.
        s_connectionWithoutList =
            failure.effect == CallFailure::Effect::Failure && is(failure, {"send"}) && n % 2 == 0
                ? static_cast<int>(n) / 2 - 1
                : kNone;
        s_waitingConnection =
            failsToConnect(failure) ? static_cast<int>((n - 1) / usesPerConnection(failure)) : kNone;
        start();
    }

    /** Whether the condition came true before the listener's thread ended. */
    template <class Condition>
    bool waitFor(Condition condition)
    {
        for (int waited = 0; !condition() && !s_ended && waited < kMostMilliseconds; ++waited)
            zel::sleepMilliseconds(1);
        return condition();
    }

    void stop()
    {
        exit();
        if (zel::test::countsExactly()) {
            EXPECT_EQ(zel::test::countProcess(m_before), m_before);
        }
        EXPECT_EQ(outstandingAllocations(), m_allocationsBefore);
    }

    void listenUntilDeparture()
    {
        s_failure = nullptr;
        s_connectionWithoutList = kNone;
        s_waitingConnection = kNone;
        start();
        for (int waited = 0; s_departures < 2 && waited < kMostMilliseconds; ++waited)
            zel::sleepMilliseconds(1);
        EXPECT_EQ(s_departures, 2);
        EXPECT_EQ(s_arrivals, isPens() ? 5 : 3);
        exit();
    }

private:
    /** A connect may take several uses. */
    std::size_t usesPerConnection(const CallFailure &failure) const
    {
        const auto index = static_cast<std::size_t>(&failure - callFailures().data());
        const std::size_t connections = isPens() ? 2 : 1;
        return std::max<std::size_t>(m_uses[index] / connections, 1);
    }

    static void exit()
    {
        EXPECT_EQ(GetParam().exit(), ZEL_OK);
        s_onThread.reset();
        std::vector<std::string>().swap(s_errors); // the memory for them is the listener thread's too
    }

    /** Otherwise a connection that the last listener gave up may count as one of the next. */
    void waitForServer() const
    {
        const zel::net::OwnedSocket client = loopback::connectTo(m_server.endpoint());
        loopback::sendAll(client, kAreYouDone);
        EXPECT_EQ(loopback::receiveExactly(client, 1), "!");
    }

    void start()
    {
        waitForServer();
        s_failed = 0;
        s_ended = false;
        s_arrivals = 0;
        s_departures = 0;
        s_connections = 0;
        s_errors.clear();
        zel::RendezvousListener &listener = GetParam().create(m_server.endpoint());
        listener.setCallbacks(onAnnouncement, onAnnouncement, nullptr);
        EXPECT_TRUE(listener.StartRendezvous());
    }

    RendezvousServer m_server{conversationFor(GetParam())};
    zel::test::ProcessCounts m_before;
    std::size_t m_allocationsBefore = 0;
    std::vector<std::size_t> m_uses;
    std::size_t m_made = 0;
};

/** Two pens and the end, in bytes. */
const std::size_t kListSize = 2 * rendezvous_wire::pen("CONNECT", "0000012300abcdef").size() +
                              rendezvous_wire::message("ENDLIST").size();

#ifdef _WIN32
constexpr int kErrorOfClosing = 10050; // WSAENETDOWN
constexpr int kWinsockErrorOfClosing = 10050;
#else
constexpr int kErrorOfClosing = EIO;
constexpr int kWinsockErrorOfClosing = 10022; // invalid argument: no better one
#endif

/** That is how the platform layer numbers what ends a connection. */
bool endsTheConnection(const CallFailure &failure)
{
#ifdef _WIN32
    return failure.error == 10053 || failure.error == 10054;
#else
    return failure.error == ECONNABORTED || failure.error == ECONNRESET;
#endif
}

/** Whether the listener of the firmware-upgrade mode ends over it. */
bool endsTheListener(const CallFailure &failure, std::size_t n)
{
    if (failure.effect == CallFailure::Effect::Nothing)
        return false;
    if (is(failure, {"send"}))
        return n == 1;
    return is(failure, {"recv"}) && (n <= kListSize || endsTheConnection(failure));
}

} // namespace

TEST_P(FailingListenerCall, OnceAtEachUse)
{
    forEachUse([&](const CallFailure &failure, std::size_t n) {
        const bool ends = !isPens() && endsTheListener(failure, n);
        listen(failure, n, 1);
        EXPECT_EQ(waitFor([] { return s_departures != 0; }), !ends);
        stop();
        EXPECT_EQ(s_failed, 1u);
    });
    listenUntilDeparture();
}

TEST_P(FailingListenerCall, IsTold)
{
    const auto hasError = [](std::string_view text) {
        const std::lock_guard guard(s_lock);
        return std::find(s_errors.begin(), s_errors.end(), text) != s_errors.end();
    };
    const auto failure = [](std::initializer_list<const char *> calls,
                            bool (*which)(const CallFailure &)) -> const CallFailure & {
        const auto found =
            std::find_if(callFailures().begin(), callFailures().end(),
                         [&](const CallFailure &each) { return is(each, calls) && which(each); });
        EXPECT_NE(found, callFailures().end());
        return *found;
    };
    // The list has been received then.
    const CallFailure &received = failure({"recv"}, [](const CallFailure &each) {
        return each.effect == CallFailure::Effect::Failure && !endsTheConnection(each);
    });
    listen(received, isPens() ? 2 * kListSize : kListSize + 1, 1);
    EXPECT_TRUE(waitFor([&] { return hasError("[waitForRendezvousEvent] Receive from RV server failed."); }));
    stop();
    if (!isPens())
        return;
    // The socket of the server that went in its list is the first that is closed.
    const CallFailure &closed = failure(
        {"close", "closesocket"}, [](const CallFailure &each) { return each.error == kErrorOfClosing; });
    listen(closed, 1, 1);
    EXPECT_TRUE(waitFor([&] {
        return hasError("RendezvousClient::disconnectFromRendezvousServer() - closing socket failed " +
                        std::to_string(kWinsockErrorOfClosing));
    }));
    stop();
}

// Whatever does not come back, the host gets its exit, and can begin anew.
TEST_P(FailingListenerCall, ForGoodFromEachUseOn)
{
    forEachUse([&](const CallFailure &failure, std::size_t n) {
        if (failure.effect == CallFailure::Effect::Nothing)
            return;
        listen(failure, n, kForGood);
        waitFor([] { return s_failed != 0; });
        stop();
        EXPECT_NE(s_failed, 0u);
    });
    listenUntilDeparture();
}

INSTANTIATE_TEST_SUITE_P(Modes, FailingListenerCall, testing::Values(kPens, kFirmware), nameOfMode);

} // namespace faults
