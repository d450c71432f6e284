#include "sys/thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <utility>

namespace {

using zel::kInfinite;
using zel::LEvent;
using zel::LThread;

constexpr std::uint32_t kLongEnough = 10000;

class FunctionThread : public LThread
{
public:
    explicit FunctionThread(std::function<void()> body, bool autoDelete = false)
        : LThread(autoDelete), m_body(std::move(body))
    {
    }

    void run() override { m_body(); }

private:
    std::function<void()> m_body;
};

} // namespace

TEST(Thread, FinishedIsSetWhenTheBodyHasReturned)
{
    LEvent mayEnd(true, false);
    FunctionThread thread([&] { mayEnd.wait(kInfinite); });
    EXPECT_FALSE(thread.isRunning());
    thread.start();
    EXPECT_TRUE(thread.isRunning());
    EXPECT_FALSE(thread.finished().wait(0));
    mayEnd.set();
    EXPECT_TRUE(thread.finished().wait(kLongEnough));
}

TEST(Thread, WithAutoDeleteItDeletesItselfAfterFinishedIsSet)
{
    // The object is destroyed by its own thread: what it links tells that finished came first.
    static std::atomic<bool> s_finishedBeforeDestruction;
    static LEvent s_destroyed(true, false);
    s_destroyed.reset();
    class SelfDeleting : public LThread
    {
    public:
        SelfDeleting() : LThread(true) {}
        ~SelfDeleting() override
        {
            s_finishedBeforeDestruction = finished().wait(0);
            s_destroyed.set();
        }
        void run() override {}
    };
    (new SelfDeleting)->start();
    ASSERT_TRUE(s_destroyed.wait(kLongEnough));
    EXPECT_TRUE(s_finishedBeforeDestruction);
}

TEST(Thread, ExceptionEndsTheThreadAndNotTheProcess)
{
    FunctionThread standard([] { throw std::runtime_error("from the host"); });
    standard.start();
    EXPECT_TRUE(standard.finished().wait(kLongEnough));

    FunctionThread odd([] { throw 7; });
    odd.start();
    EXPECT_TRUE(odd.finished().wait(kLongEnough));
}

TEST(Thread, KilledThreadStopsWhereItStands)
{
    // It never comes out of the wait, although the event is set afterwards, and unwinds nothing.
    static std::atomic<bool> s_wentOn;
    static LEvent s_entered(false, false);
    static LEvent s_never(true, false);
    s_wentOn = false;
    s_never.reset();
    {
        struct Unwound {
            ~Unwound() { s_wentOn = true; }
        };
        FunctionThread thread([] {
            const Unwound unwound;
            s_entered.set();
            s_never.wait(kInfinite);
        });
        thread.start();
        ASSERT_TRUE(s_entered.wait(kLongEnough));
        thread.kill();
        EXPECT_FALSE(thread.isRunning());
        EXPECT_FALSE(thread.finished().wait(0));
    }
    LEvent other(true, false);
    other.set(); // the lock that all events share is free
    EXPECT_TRUE(other.wait(0));
    zel::sleepMilliseconds(50);
    EXPECT_FALSE(s_wentOn);
}

TEST(Thread, KillOfAnEndedThreadDoesNothing)
{
    FunctionThread thread([] {});
    thread.start();
    ASSERT_TRUE(thread.finished().wait(kLongEnough));
    EXPECT_FALSE(thread.kill());
    EXPECT_TRUE(thread.isRunning()) << "its handle is still there";
}

TEST(Thread, KillBeforeTheStartDoesNothing)
{
    FunctionThread thread([] {});
    EXPECT_FALSE(thread.kill());
    EXPECT_FALSE(thread.isRunning());
}

TEST(Thread, WaitsForTheEndNoLongerThanAsked)
{
    LEvent mayEnd(true, false);
    FunctionThread thread([&] { mayEnd.wait(kInfinite); });
    thread.start();
    EXPECT_FALSE(thread.waitUntilEnded(1));
    mayEnd.set();
    EXPECT_TRUE(thread.waitUntilEnded(kLongEnough));
}

// A killed thread's wait leaves nothing behind over which the event's owner could hang.
TEST(Thread, EventMayBeUsedAndDestroyedAfterItsWaitingThreadWasKilled)
{
    for (const bool manualReset : {false, true}) {
        LEvent waiting(true, false);
        auto event = std::make_unique<LEvent>(manualReset, false);
        FunctionThread thread([&] {
            waiting.set();
            event->wait(kInfinite);
        });
        thread.start();
        ASSERT_TRUE(waiting.wait(kLongEnough));
        zel::sleepMilliseconds(20);
        thread.kill();
        event->set();
        EXPECT_TRUE(event->wait(0));
        event.reset();
    }
}

// Whatever a thread is doing with the lock that all events share, a kill leaves it free.
TEST(Thread, KillAtAnyMomentLeavesTheOthersWorking)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer holds signals back from a thread that waits for a lock";
#endif
    for (int round = 0; round < 60; ++round) {
        LEvent spinning(false, false);
        FunctionThread thread([&] {
            for (;;)
                spinning.set();
        });
        thread.start();
        // On Windows a thread that has not begun yet may hold the lock of the system's loader.
        ASSERT_TRUE(spinning.wait(kLongEnough));
        for (int i = 0; i < round; ++i)
            spinning.wait(1);
        thread.kill();
        spinning.set();
        FunctionThread next([] {});
        next.start();
        ASSERT_TRUE(next.finished().wait(kLongEnough));
    }
}

TEST(Thread, MayKillItself)
{
    class Suicidal : public LThread
    {
    public:
        Suicidal() : LThread(false) {}
        void run() override
        {
            m_reached.set();
            kill();
            m_returned = true;
        }

        LEvent m_reached{true, false};
        std::atomic<bool> m_returned{false};
    };
    Suicidal thread;
    thread.start();
    ASSERT_TRUE(thread.m_reached.wait(kLongEnough));
    EXPECT_FALSE(thread.finished().wait(50));
    EXPECT_FALSE(thread.m_returned);
    EXPECT_FALSE(thread.isRunning());
    thread.kill(); // nothing is left to kill
    FunctionThread next([] {});
    next.start();
    EXPECT_TRUE(next.finished().wait(kLongEnough));
}
