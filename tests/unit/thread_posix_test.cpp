#include "support/refused_threads.h"
#include "sys/exceptions.h"
#include "sys/thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <pthread.h>
#include <unistd.h>

using zel::LEvent;
using zel::LThread;

namespace {

class BodyThread : public LThread
{
public:
    explicit BodyThread(std::function<void()> body) : LThread(false), m_body(std::move(body)) {}
    void run() override { m_body(); }

private:
    const std::function<void()> m_body;
};

void killOneThread()
{
    LEvent blocking(true, false);
    BodyThread thread([&] {
        blocking.set();
        zel::sleepMilliseconds(60000);
    });
    thread.start();
    EXPECT_TRUE(blocking.wait(20000));
    thread.kill();
}

std::atomic<int> s_hostSignals{0};

void hostHandler(int)
{
    ++s_hostSignals;
}

void hostHandlerWithInfo(int, siginfo_t *info, void *)
{
    s_hostSignals += info != nullptr ? 1 : 0;
}

struct sigaction currentHandler()
{
    struct sigaction current = {};
    sigaction(SIGURG, nullptr, &current);
    return current;
}

/** A host's own use of the signal, as it stands around a test. */
class HostHandler
{
public:
    explicit HostHandler(const struct sigaction &action) { sigaction(SIGURG, &action, &m_before); }
    ~HostHandler() { sigaction(SIGURG, &m_before, nullptr); }

private:
    struct sigaction m_before = {};
};

} // namespace

TEST(ThreadOnPosix, KillLeavesTheHostsHandlerInPlace)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer holds back a signal that comes just before the thread blocks";
#endif
    struct sigaction action = {};
    action.sa_handler = hostHandler;
    const HostHandler host(action);
    killOneThread();
    EXPECT_EQ(currentHandler().sa_handler, hostHandler);
}

namespace {

/** A body that lets no signal in until it is told to listen. */
class Stubborn
{
public:
    Stubborn()
        : thread([this] {
              sigset_t urgent;
              sigemptyset(&urgent);
              sigaddset(&urgent, SIGURG);
              pthread_sigmask(SIG_BLOCK, &urgent, nullptr);
              m_deaf.set();
              m_listen.wait(zel::kInfinite);
              pthread_sigmask(SIG_UNBLOCK, &urgent, nullptr);
              zel::sleepMilliseconds(1);
              m_wentOn = true;
          })
    {
        thread.start();
        EXPECT_TRUE(m_deaf.wait(20000));
    }

    bool wentOnWhenItListened()
    {
        m_listen.set();
        zel::sleepMilliseconds(50);
        return m_wentOn;
    }

    BodyThread thread;

private:
    LEvent m_deaf{true, false};
    LEvent m_listen{true, false};
    std::atomic<bool> m_wentOn{false};
};

} // namespace

// Other threads' signals reach the host's handler also while a thread is being killed. One that
// keeps the signal blocked makes the kill last.
TEST(ThreadOnPosix, SignalsOfOtherThreadsReachTheHostDuringAKill)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer cannot know that a thread which parks late touches nothing any more";
#endif
    for (const bool withInfo : {false, true}) {
        struct sigaction action = {};
        action.sa_flags = withInfo ? SA_SIGINFO : 0;
        if (withInfo)
            action.sa_sigaction = hostHandlerWithInfo;
        else
            action.sa_handler = hostHandler;
        const HostHandler host(action);
        s_hostSignals = 0;

        Stubborn stubborn;
        std::atomic<bool> done{false};
        BodyThread killer([&] {
            stubborn.thread.kill();
            done = true;
        });
        killer.start();
        while (!done && s_hostSignals == 0) {
            pthread_kill(pthread_self(), SIGURG);
            zel::sleepMilliseconds(1);
        }
        EXPECT_GE(s_hostSignals, 1);
        EXPECT_TRUE(killer.finished().wait(20000)) << "the kill gives up waiting";
        EXPECT_NE(currentHandler().sa_handler, hostHandler) << "the signal is still under way";
        EXPECT_FALSE(stubborn.wentOnWhenItListened()) << "it stops as soon as it lets the signal in";
    }
}

TEST(ThreadOnPosix, KillOfAnotherDoesNotLetALateOneGo)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer cannot know that a thread which parks late touches nothing any more";
#endif
    struct sigaction action = {};
    action.sa_handler = hostHandler;
    const HostHandler host(action);
    Stubborn late;
    late.thread.kill();
    killOneThread();
    EXPECT_NE(currentHandler().sa_handler, hostHandler) << "a signal is still under way";
    EXPECT_FALSE(late.wentOnWhenItListened());
    killOneThread();
    EXPECT_EQ(currentHandler().sa_handler, hostHandler) << "nothing is under way any more";
}

namespace {

std::atomic<bool> s_onAlternateStack{false};

void hostHandlerThatLooksAtItsStack(int)
{
    stack_t stack{};
    sigaltstack(nullptr, &stack);
    s_onAlternateStack = (stack.ss_flags & SS_ONSTACK) != 0;
    ++s_hostSignals;
}

/** The calling thread's handlers run on a stack of their own. */
class AlternateStack
{
public:
    AlternateStack()
    {
        stack_t stack{};
        stack.ss_sp = m_bytes.data();
        stack.ss_size = m_bytes.size();
        sigaltstack(&stack, &m_before);
    }
    ~AlternateStack() { sigaltstack(&m_before, nullptr); }

private:
    std::vector<std::byte> m_bytes = std::vector<std::byte>(1 << 16);
    stack_t m_before{};
};

} // namespace

// Threads of hosts whose stacks are small, or that are in a call of the system, do not suffer from a kill.
TEST(ThreadOnPosix, HandlerDuringAKillSparesStacksAndSystemCalls)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer runs handlers when and where it likes";
#endif
    struct sigaction action = {};
    action.sa_handler = hostHandlerThatLooksAtItsStack;
    action.sa_flags = SA_RESTART | SA_ONSTACK;
    const HostHandler host(action);
    s_hostSignals = 0;
    s_onAlternateStack = false;

    Stubborn stubborn;
    stubborn.thread.kill();
    ASSERT_NE(currentHandler().sa_handler, hostHandlerThatLooksAtItsStack) << "the signal is still under way";

    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ssize_t received = 0;
    std::atomic<bool> reading{false};
    std::thread reader([&] {
        const AlternateStack stack;
        char byte = 0;
        reading = true;
        received = read(ends[0], &byte, 1);
    });
    while (!reading)
        zel::sleepMilliseconds(1);
    for (int i = 0; i < 20; ++i) {
        zel::sleepMilliseconds(1);
        pthread_kill(reader.native_handle(), SIGURG);
    }
    while (s_hostSignals == 0)
        zel::sleepMilliseconds(1);
    EXPECT_EQ(write(ends[1], "x", 1), 1);
    reader.join();
    close(ends[0]);
    close(ends[1]);
    EXPECT_TRUE(s_onAlternateStack);
    EXPECT_EQ(received, 1) << "the call is not interrupted";
    EXPECT_FALSE(stubborn.wentOnWhenItListened());
}

// A parked thread that took one would run the host's handler on a stack which nobody owns any more.
TEST(ThreadOnPosix, KilledThreadTakesNoSignalOfTheProcess)
{
    killOneThread();
    sigset_t ours;
    sigemptyset(&ours);
    sigaddset(&ours, SIGUSR2);
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &ours, &before);
    kill(getpid(), SIGUSR2);
    const timespec atOnce{};
    EXPECT_EQ(sigtimedwait(&ours, nullptr, &atOnce), SIGUSR2);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST(ThreadOnPosix, OnlyTheKillAndItsOwnFaultsInterruptAThread)
{
    sigset_t blocked;
    BodyThread thread([&] { pthread_sigmask(SIG_SETMASK, nullptr, &blocked); });
    thread.start();
    EXPECT_TRUE(thread.finished().wait(20000));
    for (const int kept : {SIGINT, SIGTERM, SIGHUP, SIGALRM, SIGCHLD, SIGUSR1, SIGPIPE, SIGPROF})
        EXPECT_EQ(sigismember(&blocked, kept), 1) << kept;
    for (const int open : {SIGURG, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS})
        EXPECT_EQ(sigismember(&blocked, open), 0) << open;
    sigset_t ours;
    pthread_sigmask(SIG_SETMASK, nullptr, &ours);
    EXPECT_EQ(sigismember(&ours, SIGINT), 0) << "the starting thread has its own mask back";
}

// Swallowing the C library's unwinding would end the process.
TEST(ThreadOnPosix, BodyThatExitsItsThreadEndsItOnly)
{
    BodyThread thread([] { pthread_exit(nullptr); });
    thread.start();
    EXPECT_TRUE(thread.finished().wait(20000));
}

TEST(ThreadOnPosix, SystemThatGivesNoThreadIsReported)
{
    const zel::test::RefusedThreads refused;
    BodyThread thread([] {});
    std::string message;
    try {
        thread.start();
    } catch (const zel::ZELException &e) {
        message = e.what();
    }
    EXPECT_EQ(message, "Unable to create new thread");
    EXPECT_FALSE(thread.isRunning());
}
