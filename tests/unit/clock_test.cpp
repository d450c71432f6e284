#include "sys/clock.h"

#include "sys/event.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

using Clock = std::chrono::steady_clock;

namespace {

template <class Call>
std::chrono::milliseconds lengthOf(Call call)
{
    const auto begin = Clock::now();
    call();
    return std::chrono::ceil<std::chrono::milliseconds>(Clock::now() - begin);
}

// A timer of Windows may be early by one of its ticks.
constexpr std::chrono::milliseconds kTick{16};

} // namespace

TEST(Clock, TimePassesBySystemTime)
{
    zel::LEvent never(true, false);
    EXPECT_GE(lengthOf([&] { EXPECT_FALSE(zel::waitFor(never, 100)); }) + kTick,
              std::chrono::milliseconds(100));
    EXPECT_GE(lengthOf([] { zel::pauseFor(100); }) + kTick, std::chrono::milliseconds(100));
}

TEST(Clock, EventEndsAWaitBeforeItsTime)
{
    zel::LEvent event(true, false);
    std::thread setting([&] { event.set(); });
    EXPECT_TRUE(zel::waitFor(event, zel::kInfinite));
    setting.join();
}
