#include "support/refused_threads.h"
#include "sys/exceptions.h"
#include "sys/thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <memory>
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

/** The host's code on a thread of the library, which lets no signal in until it is told to listen. */
class Stubborn
{
public:
    Stubborn()
        : thread([this] {
              const zel::ForeignCode hosts;
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

namespace {

/** What a body that counts has come to some time later. */
bool goesOn(const std::atomic<int> &count)
{
    const int before = count;
    zel::sleepMilliseconds(50);
    return count != before;
}

void setAllSignals(int how)
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(how, &all, nullptr);
}

} // namespace

namespace {

/** The host's code on a thread of the library: it lets no signal in and returns when it is told, whereupon
 * the thread counts. It outlives the thread's object. */
struct LateReturn {
    LEvent deaf{true, false};
    LEvent mayReturn{true, false};
    LEvent returning{true, false};
    std::atomic<int> count{0};

    void run()
    {
        {
            const zel::ForeignCode hosts;
            setAllSignals(SIG_BLOCK);
            deaf.set();
            mayReturn.wait(zel::kInfinite);
            returning.set();
        }
        for (;;)
            ++count;
    }
};

} // namespace

// Whatever the host has made of the signal by the time its code comes back: the thread ends there, and needs
// no signal for it.
TEST(ThreadOnPosix, ThreadKilledInTheHostsCodeDoesNotComeBackFromIt)
{
    struct sigaction action = {};
    const HostHandler host(action);
    for (const auto hostsOwn : {SIG_DFL, SIG_IGN, static_cast<void (*)(int)>(hostHandler)}) {
        LateReturn late;
        auto thread = std::make_unique<BodyThread>([&late] { late.run(); });
        thread->start();
        ASSERT_TRUE(late.deaf.wait(20000));
        EXPECT_TRUE(thread->kill());
        thread.reset();
        signal(SIGURG, hostsOwn);
        late.mayReturn.set();
        ASSERT_TRUE(late.returning.wait(20000));
        EXPECT_FALSE(goesOn(late.count));
    }
}

// In its own code the library never keeps the signal out for long, so the kill waits as long as that takes:
// what the thread may touch is freed afterwards.
TEST(ThreadOnPosix, KillWaitsUntilTheLibrarysOwnCodeHasStopped)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer runs handlers when and where it likes";
#endif
    LEvent deaf(true, false);
    std::atomic<int> count{0};
    BodyThread thread([&] {
        setAllSignals(SIG_BLOCK);
        deaf.set();
        for (; count < 1500; ++count)
            zel::sleepMilliseconds(1);
        setAllSignals(SIG_UNBLOCK);
        for (;;)
            ++count;
    });
    thread.start();
    ASSERT_TRUE(deaf.wait(20000));
    EXPECT_TRUE(thread.kill());
    EXPECT_FALSE(goesOn(count));
}

// A host that installs its own handler at the wrong moment would take the signal of the kill.
TEST(ThreadOnPosix, KillAsksAgainWhenTheHostHasTakenTheSignal)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer runs handlers when and where it likes";
#endif
    struct sigaction action = {};
    const HostHandler host(action);
    LEvent deaf(true, false);
    std::atomic<bool> mayListen{false}; // no event: a kill holds their lock
    std::atomic<int> count{0};
    BodyThread thread([&] {
        setAllSignals(SIG_BLOCK);
        deaf.set();
        while (!mayListen)
            zel::sleepMilliseconds(1);
        setAllSignals(SIG_UNBLOCK);
        for (;;)
            ++count;
    });
    thread.start();
    ASSERT_TRUE(deaf.wait(20000));
    std::atomic<bool> killed{false};
    std::thread killer([&] { killed = thread.kill(); });
    while ((currentHandler().sa_flags & SA_SIGINFO) == 0)
        zel::sleepMilliseconds(1);
    signal(SIGURG, SIG_IGN); // which drops the one that is pending
    mayListen = true;
    killer.join();
    EXPECT_TRUE(killed);
    EXPECT_FALSE(goesOn(count));
    EXPECT_EQ(currentHandler().sa_handler, SIG_IGN) << "the host's latest word";
}

TEST(ThreadOnPosix, OnlySignalsOfTheHostsOwnThreadsAreKeptOut)
{
    sigset_t blocked;
    BodyThread thread([&] { pthread_sigmask(SIG_SETMASK, nullptr, &blocked); });
    thread.start();
    EXPECT_TRUE(thread.finished().wait(20000));
    for (const int kept : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2, SIGALRM, SIGCHLD, SIGPIPE,
                           SIGCONT, SIGTSTP, SIGTTIN, SIGTTOU, SIGWINCH, SIGIO})
        EXPECT_EQ(sigismember(&blocked, kept), 1) << kept;
    for (const int open :
         {SIGURG, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS, // the kill, faults
          SIGPWR, SIGXCPU, SIGPROF, SIGVTALRM})                              // collectors, profilers
        EXPECT_EQ(sigismember(&blocked, open), 0) << open;
    for (int realTime = SIGRTMIN; realTime <= SIGRTMAX; ++realTime)
        EXPECT_EQ(sigismember(&blocked, realTime), 0) << realTime;
    sigset_t ours;
    pthread_sigmask(SIG_SETMASK, nullptr, &ours);
    EXPECT_EQ(sigismember(&ours, SIGINT), 0) << "the starting thread has its own mask back";
}

namespace {

/** Ends with 7 when the signals wait for the host, with a running thread and a killed one in the process. */
[[noreturn]] void keepSignalsOutEverywhere(std::initializer_list<int> hosts)
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : hosts)
        sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    LEvent mayEnd(true, false);
    BodyThread running([&] { mayEnd.wait(zel::kInfinite); });
    running.start();
    killOneThread();
    for (const int signal : hosts) {
        kill(getpid(), signal);
        const timespec atOnce{};
        if (sigtimedwait(&signals, nullptr, &atOnce) != signal)
            std::_Exit(1);
    }
    std::_Exit(7);
}

} // namespace

// A host that keeps a signal out everywhere waits for it in its own way; anywhere else it would end the
// process.
TEST(ThreadOnPosixDeathTest, SignalThatTheHostKeepsOutReachesNoThreadOfTheLibrary)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe"; // no thread of another test is there
    EXPECT_EXIT(keepSignalsOutEverywhere({SIGRTMIN + 3, SIGPROF, SIGXCPU}), testing::ExitedWithCode(7), "");
}

// A runtime that suspends every thread it knows waits for each; a killed one must not keep it waiting.
TEST(ThreadOnPosix, KilledThreadCanStillBeSuspended)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer runs handlers when and where it likes";
#endif
    LEvent running(true, false);
    std::atomic<pthread_t> id{};
    BodyThread thread([&] {
        const zel::ForeignCode hosts;
        setAllSignals(SIG_BLOCK);
        id = pthread_self();
        setAllSignals(SIG_UNBLOCK);
        running.set();
        zel::sleepMilliseconds(60000);
    });
    thread.start();
    ASSERT_TRUE(running.wait(20000));
    EXPECT_TRUE(thread.kill());
    for (const int suspend : {SIGRTMIN, SIGRTMAX, SIGPWR}) {
        s_hostSignals = 0;
        signal(suspend, hostHandler);
        pthread_kill(id, suspend);
        for (int waited = 0; s_hostSignals == 0 && waited < 20000; ++waited)
            zel::sleepMilliseconds(1);
        EXPECT_EQ(s_hostSignals, 1) << suspend;
        signal(suspend, SIG_DFL);
    }
}

// --- cancellation

TEST(ThreadOnPosix, HeldCancellationTakesEffectAfterwards)
{
    for (const int type : {PTHREAD_CANCEL_DEFERRED, PTHREAD_CANCEL_ASYNCHRONOUS}) {
        static std::atomic<int> s_reached;
        s_reached = 0;
        pthread_t thread{};
        const auto body = [](void *how) -> void * {
            pthread_setcanceltype(*static_cast<int *>(how), nullptr);
            {
                const zel::HeldCancellation held;
                pthread_cancel(pthread_self());
                pthread_testcancel();
                s_reached = 1;
            }
            pthread_testcancel();
            s_reached = 2;
            return nullptr;
        };
        int how = type;
        ASSERT_EQ(pthread_create(&thread, nullptr, body, &how), 0);
        void *result = nullptr;
        pthread_join(thread, &result);
        EXPECT_EQ(result, PTHREAD_CANCELED);
        EXPECT_EQ(s_reached, 1);
    }
}

TEST(ThreadOnPosix, CancellationEndsTheHostsCodeAndTheThreadWithIt)
{
    std::atomic<bool> cameBack{false};
    BodyThread thread([&] {
        const zel::ForeignCode hosts;
        pthread_cancel(pthread_self());
        pthread_testcancel();
        cameBack = true;
    });
    thread.start();
    EXPECT_TRUE(thread.finished().wait(20000));
    EXPECT_FALSE(cameBack);
}

// There it would meet functions that let nothing out, and end the process.
TEST(ThreadOnPosix, CancellationWaitsWhileTheLibrarysOwnCodeRuns)
{
    for (const bool calledTheHost : {false, true}) {
        std::atomic<bool> wentOn{false};
        BodyThread thread([&] {
            if (calledTheHost) {
                const zel::ForeignCode hosts;
            }
            pthread_cancel(pthread_self());
            pthread_testcancel();
            wentOn = true;
        });
        thread.start();
        EXPECT_TRUE(thread.finished().wait(20000));
        EXPECT_TRUE(wentOn);
    }
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
