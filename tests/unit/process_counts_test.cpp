// What tests rely on that find nothing left behind.
#include "support/process_counts.h"

#include "support/loopback.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

using namespace zel::test;

TEST(ProcessCounts, SocketIsCounted)
{
    const loopback::Listener first; // with it comes what the system's sockets need
    const std::size_t before = countProcess().descriptors;
    {
        const loopback::Listener listener;
        EXPECT_EQ(countProcess().descriptors, before + 1);
    }
    EXPECT_EQ(countProcess().descriptors, before);
}

namespace {

std::size_t threadsBesideAnother()
{
    std::promise<void> end;
    std::thread thread([&] { end.get_future().wait(); });
    const std::size_t count = countProcess().threads;
    end.set_value();
    thread.join();
    return count;
}

} // namespace

TEST(ProcessCounts, ThreadIsCounted)
{
    threadsBesideAnother(); // with the first comes what the system's threads need
    const ProcessCounts before = countProcess();
    EXPECT_EQ(threadsBesideAnother(), before.threads + 1);
    EXPECT_EQ(countProcess(before).threads, before.threads);
}

TEST(ProcessCounts, JoinedThreadIsNotCounted)
{
    if (!countsExactly())
        GTEST_SKIP() << "the system may count it a moment longer";
    threadsBesideAnother();
    const std::size_t before = countProcess().threads;
    constexpr int kTimes = 1000; // it lingers now and then
    for (int i = 0; i < kTimes; ++i) {
        std::thread([] {}).join();
        ASSERT_EQ(countProcess().threads, before);
    }
}
