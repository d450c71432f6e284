#include "sys/event.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using zel::LEvent;

TEST(Event, InitialStateIsAsGiven)
{
    EXPECT_FALSE(LEvent(true, false).wait(0));
    EXPECT_TRUE(LEvent(true, true).wait(0));
}

TEST(Event, AutoResetEventIsClearAfterOneWait)
{
    LEvent event(false, false);
    event.set();
    EXPECT_TRUE(event.wait(0));
    EXPECT_FALSE(event.wait(0));
}

TEST(Event, ManualResetEventStaysSetUntilReset)
{
    LEvent event(true, false);
    event.set();
    EXPECT_TRUE(event.wait(0));
    EXPECT_TRUE(event.wait(0));
    event.reset();
    EXPECT_FALSE(event.wait(0));
}

TEST(Event, WaitEndsWithoutTheEventWhenTheTimeIsOver)
{
    LEvent event(false, false);
    EXPECT_FALSE(event.wait(20));
}

TEST(Event, SetWakesAWaitingThread)
{
    LEvent event(false, false);
    bool woken = false;
    std::thread waiting([&] { woken = event.wait(10000); });
    event.set();
    waiting.join();
    EXPECT_TRUE(woken);
}

TEST(Event, EachSetOfAnAutoResetEventIsTakenByOneThread)
{
    LEvent event(false, false);
    LEvent wasTaken(false, false);
    std::atomic<int> taken{0};
    std::atomic<bool> done{false};
    const auto take = [&] {
        while (!done)
            if (event.wait(10)) {
                ++taken;
                wasTaken.set();
            }
    };
    std::thread one(take);
    std::thread other(take);
    for (int set = 1; set <= 5000; ++set) {
        event.set();
        EXPECT_TRUE(wasTaken.wait(20000));
        EXPECT_EQ(taken, set);
    }
    done = true;
    one.join();
    other.join();
    EXPECT_EQ(taken, 5000);
}

TEST(Event, WaitWithoutLimitEndsWithTheEvent)
{
    LEvent event(true, false);
    std::thread waiting([&] { EXPECT_TRUE(event.wait(zel::kInfinite)); });
    event.set();
    waiting.join();
}

TEST(Event, LinkedEventsAreSetTogether)
{
    LEvent first(true, false);
    LEvent second(true, false);
    LEvent third(true, false);
    second.link(third);
    first.link(second);
    first.set();
    EXPECT_TRUE(second.wait(0));
    EXPECT_TRUE(third.wait(0));
}

TEST(Event, MayBeDestroyedAsSoonAsAWaitHasReturned)
{
    for (int round = 0; round < 200; ++round) {
        auto event = std::make_unique<LEvent>(true, false);
        std::thread setting([&] { event->set(); });
        EXPECT_TRUE(event->wait(10000));
        event.reset();
        setting.join();
    }
}
