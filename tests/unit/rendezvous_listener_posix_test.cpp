#include "pens/discovery_record.h"
#include "session/manager.h"
#include "support/log_capture.h"
#include "support/refused_threads.h"
#include "support/rendezvous_server.h"
#include "sys/exceptions.h"
#include "sys/thread.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <mutex>
#include <vector>

#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

using zel::CZELManager;

namespace {

constexpr std::string_view kKilledThread = "*** RendezvousThread refused to stop and was killed ***";

void takeRecord(DiscoveryHandle *record, void *)
{
    delete static_cast<zel::DiscoveryRecord *>(record);
}

std::size_t entriesOf(const char *directory)
{
    using Iterator = std::filesystem::directory_iterator;
    return static_cast<std::size_t>(std::distance(Iterator(directory), Iterator()));
}

/** What a process holds of the system. */
struct Holdings {
    std::size_t descriptors = entriesOf("/proc/self/fd");
    std::size_t threads = entriesOf("/proc/self/task");
};

std::unique_ptr<CZELManager> listeningTo(const zel::net::Endpoint &endpoint)
{
    auto manager = std::make_unique<CZELManager>(endpoint);
    manager->setCallbacks(takeRecord, takeRecord, nullptr);
    EXPECT_TRUE(manager->StartRendezvous());
    return manager;
}

void startAndStop(const zel::net::Endpoint &endpoint, int rounds)
{
    const LogCapture log;
    const Holdings before;
    for (int round = 0; round < rounds; ++round) {
        const auto manager = listeningTo(endpoint);
        if (round % 10 == 0)
            zel::sleepMilliseconds(5);
        EXPECT_TRUE(manager->StopRendezvous());
    }
    const Holdings after;
    EXPECT_LE(after.descriptors, before.descriptors + 1) << "but for the server's own connection";
    EXPECT_EQ(after.threads, before.threads);
    EXPECT_EQ(log.count(kKilledThread), 0u);
}

} // namespace

TEST(RendezvousListenerOnPosix, ThousandRoundsWithAServerLeakNothing)
{
    RendezvousServer server([](const loopback::OwnedSocket &client) {
        rendezvous_wire::enumerate(client, {rendezvous_wire::pen("", "1")});
        rendezvous_wire::untilClosed(client);
    });
    startAndStop(server.endpoint(), 1000);
}

TEST(RendezvousListenerOnPosix, ThousandRoundsWithoutAServerLeakNothing)
{
    startAndStop(loopback::deadEndpoint(), 1000);
}

TEST(RendezvousListenerOnPosix, RestartsOfOneManagerLeakNothing)
{
    RendezvousServer server(
        [](const loopback::OwnedSocket &client) { rendezvous_wire::untilClosed(client); });
    const auto manager = listeningTo(server.endpoint());
    ASSERT_TRUE(server.waitForConnections(1));
    const Holdings before;
    for (int round = 2; round < 100; ++round) {
        EXPECT_TRUE(manager->StopRendezvous());
        EXPECT_TRUE(manager->StartRendezvous());
        ASSERT_TRUE(server.waitForConnections(round));
    }
    const Holdings after;
    EXPECT_LE(after.descriptors, before.descriptors + 1);
    EXPECT_EQ(after.threads, before.threads);
    manager->StopRendezvous();
}

TEST(RendezvousListenerOnPosix, ThreadThatNeverRanIsNotKilled)
{
    const LogCapture log;
    CZELManager manager(loopback::deadEndpoint());
    {
        const zel::test::RefusedThreads refused;
        EXPECT_THROW(manager.StartRendezvous(), zel::ZELException);
    }
    EXPECT_TRUE(manager.StopRendezvous());
    EXPECT_EQ(log.count(kKilledThread), 0u);
}

namespace {

/** Tells for each arrival whether the signal of a kill may come in, and then shuts it out. */
struct DeafHost {
    std::mutex lock;
    std::vector<bool> wasDeaf;

    static void arrived(DiscoveryHandle *record, void *context)
    {
        takeRecord(record, nullptr);
        sigset_t urgent;
        sigset_t before;
        sigemptyset(&urgent);
        sigaddset(&urgent, SIGURG);
        pthread_sigmask(SIG_BLOCK, &urgent, &before);
        auto &host = *static_cast<DeafHost *>(context);
        const std::lock_guard guard(host.lock);
        host.wasDeaf.push_back(sigismember(&before, SIGURG) == 1);
    }

    std::vector<bool> waitForArrivals(std::size_t count)
    {
        for (int i = 0; i < 2000; ++i) {
            zel::sleepMilliseconds(10);
            const std::lock_guard guard(lock);
            if (wasDeaf.size() >= count)
                return wasDeaf;
        }
        return {};
    }
};

} // namespace

// A kill whose signal a callback keeps out gives up waiting: it must strike before the thread, back from the
// callback, touches a listener that is gone.
TEST(RendezvousListenerOnPosix, CallbackDoesNotLeaveTheThreadDeafToAKill)
{
    RendezvousServer server([](const loopback::OwnedSocket &client) {
        rendezvous_wire::enumerate(client, {rendezvous_wire::pen("", "1"), rendezvous_wire::pen("", "2")});
        rendezvous_wire::untilClosed(client);
    });
    DeafHost host;
    CZELManager manager(server.endpoint());
    manager.setCallbacks(DeafHost::arrived, takeRecord, &host);
    ASSERT_TRUE(manager.StartRendezvous());
    EXPECT_EQ(host.waitForArrivals(2), (std::vector<bool>{false, false}));
    manager.StopRendezvous();
}

namespace {

/** A callback that shuts every signal out and does not return before it is told. */
struct DeafCallback {
    zel::LEvent entered{true, false};
    zel::LEvent mayReturn{true, false};
    zel::LEvent returning{true, false};

    static void arrived(DiscoveryHandle *record, void *context)
    {
        takeRecord(record, nullptr);
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, nullptr);
        auto &callback = *static_cast<DeafCallback *>(context);
        callback.entered.set();
        callback.mayReturn.wait(zel::kInfinite);
        callback.returning.set();
    }
};

} // namespace

// By then the manager is freed, and the host may ignore the signal by which the thread was to be stopped.
TEST(RendezvousListenerOnPosix, CallbackThatReturnsAfterTheKillEndsThere)
{
    RendezvousServer server([](const loopback::OwnedSocket &client) {
        rendezvous_wire::enumerate(client, {rendezvous_wire::pen("", "1")});
        rendezvous_wire::untilClosed(client);
    });
    DeafCallback callback;
    const LogCapture log;
    auto manager = std::make_unique<CZELManager>(server.endpoint());
    manager->setCallbacks(DeafCallback::arrived, takeRecord, &callback);
    ASSERT_TRUE(manager->StartRendezvous());
    ASSERT_TRUE(callback.entered.wait(20000));
    manager->StopRendezvous();
    EXPECT_EQ(log.count(kKilledThread), 1u);
    manager.reset();
    const auto before = std::signal(SIGURG, SIG_IGN);
    const std::size_t texts = log.entries().size();
    callback.mayReturn.set();
    ASSERT_TRUE(callback.returning.wait(20000));
    zel::sleepMilliseconds(50);
    EXPECT_EQ(log.entries().size(), texts) << "the thread has gone on";
    std::signal(SIGURG, before);
}

namespace {

/** A host that ends with its listener running. */
[[noreturn]] void endWithoutExit(const zel::net::Endpoint &endpoint)
{
    zel::setManager(listeningTo(endpoint));
    zel::sleepMilliseconds(100);
    std::exit(7);
}

TEST(RendezvousListenerOnPosix, ForkedProcessHasNoListener)
{
    const auto manager = listeningTo(loopback::deadEndpoint());
    const pid_t child = fork();
    if (child == 0)
        _exit(entriesOf("/proc/self/task") == 1 ? 0 : 1);
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_GE(entriesOf("/proc/self/task"), 2u); // the listener goes on here
    EXPECT_TRUE(manager->StopRendezvous());
}

} // namespace

TEST(RendezvousListenerOnPosixDeathTest, HostThatForgetsToStopEndsAllTheSame)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(endWithoutExit(loopback::deadEndpoint()), testing::ExitedWithCode(7), "");
}
