// The listener's thread when its memory runs out: the process lives, and the library can be stopped and
// started again.
#include "allocation_watch.h"
#include "every_allocation.h"
#include "listener_modes.h"
#include "support/process_counts.h"

#include "support/rendezvous_server.h"
#include "sys/log.h"
#include "sys/thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>

namespace faults {

namespace {

constexpr int kAnnouncements = 4;
constexpr int kMostMilliseconds = 20000;

// What the listener's thread is to meet; it arms itself when its first text tells that it has started.
std::atomic<std::size_t> s_failing;
std::atomic<Memory> s_memory;
std::atomic<bool> s_failed;
std::atomic<int> s_announced;

/** From the thread's first text to its end. */
class OnListenerThread
{
public:
    OnListenerThread() { failAllocation(s_failing, s_memory); }
    ~OnListenerThread() { s_failed = allocationHasFailed(); }
    OnListenerThread(const OnListenerThread &) = delete;
    OnListenerThread &operator=(const OnListenerThread &) = delete;

private:
    AllocationWatch m_watch;
};

void onLog(zel::LogLevel, std::string_view text)
{
    thread_local std::optional<OnListenerThread> t_memory;
    if (!t_memory && (text == kPens.started || text == kFirmware.started))
        t_memory.emplace();
}

void onAnnouncement(DiscoveryHandle *record, void *)
{
    zelFreeDiscoveryHandle(&record);
    ++s_announced;
}

/** Two pens are there; a third comes, and goes. */
void announce(const loopback::OwnedSocket &client)
{
    using namespace rendezvous_wire;
    enumerate(client, {pen("CONNECT", "0000012300abcdef"), pen("CONNECT", "0000012300abcdf0")});
    loopback::sendAll(client, pen("CONNECT", "0000012300abcdf1"));
    loopback::sendAll(client, pen("DISCONNECT", "0000012300abcdf1"));
    untilClosed(client);
}

class FailingListenerAllocation : public testing::TestWithParam<ListenerMode>
{
protected:
    void SetUp() override
    {
        zel::setLogObserver(onLog);
        m_before = zel::test::countProcess();
    }
    void TearDown() override { zel::setLogObserver(nullptr); }

    /** At the end none fails, and the listener, which has been started as often, announces everything. */
    void checkEveryAllocation(Memory memory)
    {
        const std::size_t failures = failEveryAllocation([&](std::size_t n) {
            listen(n, memory);
            return s_failed.load();
        });
        EXPECT_NE(failures, 0u);
        EXPECT_EQ(s_announced, kAnnouncements);
        EXPECT_EQ(GetParam().initialise(onAnnouncement), ZEL_OK);
        EXPECT_EQ(GetParam().exit(), ZEL_OK);
    }

    /** Until the thread has announced everything, or has ended. */
    void start(std::size_t failing, Memory memory)
    {
        expect(failing, memory);
        zel::RendezvousListener &listener = GetParam().create(m_server.endpoint());
        listener.setCallbacks(onAnnouncement, onAnnouncement, nullptr);
        EXPECT_TRUE(listener.StartRendezvous());
        waitForListener();
    }

    static void expect(std::size_t failing, Memory memory)
    {
        s_failing = failing;
        s_memory = memory;
        s_failed = false;
        s_announced = 0;
    }

    void waitForListener()
    {
        waitUntil([&] {
            return s_announced == kAnnouncements || zel::test::countProcess().threads == m_before.threads;
        });
    }

private:
    void listen(std::size_t failing, Memory memory)
    {
        const std::size_t allocationsBefore = outstandingAllocations();
        start(failing, memory);
        EXPECT_EQ(GetParam().exit(), ZEL_OK);
        EXPECT_EQ(zel::test::countProcess(m_before), m_before);
        EXPECT_EQ(outstandingAllocations(), allocationsBefore);
    }

    template <class Condition>
    static void waitUntil(Condition condition)
    {
        for (int waited = 0; !condition() && waited < kMostMilliseconds; ++waited)
            zel::sleepMilliseconds(1);
    }

    RendezvousServer m_server{announce};
    zel::test::ProcessCounts m_before;
};

} // namespace

TEST_P(FailingListenerAllocation, OfWhichThereIsOne)
{
    checkEveryAllocation(Memory::FailsOnce);
}

TEST_P(FailingListenerAllocation, AfterWhichAllFail)
{
    checkEveryAllocation(Memory::StaysShort);
}

INSTANTIATE_TEST_SUITE_P(Modes, FailingListenerAllocation, testing::Values(kPens, kFirmware), nameOfMode);

namespace {

using ListenerWithoutMemory = FailingListenerAllocation;

} // namespace

TEST_P(ListenerWithoutMemory, IsBroughtBackByAnEnumeration)
{
    start(1, Memory::StaysShort);
    EXPECT_EQ(s_announced, 0);
    expect(0, Memory::FailsOnce);
    EXPECT_EQ(zelEnumeratePens(), ZEL_OK);
    waitForListener();
    EXPECT_EQ(s_announced, kAnnouncements);
    EXPECT_EQ(GetParam().exit(), ZEL_OK);
}

INSTANTIATE_TEST_SUITE_P(Pens, ListenerWithoutMemory, testing::Values(kPens), nameOfMode);

} // namespace faults
