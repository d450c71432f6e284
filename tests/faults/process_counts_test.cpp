// What the matrix relies on when it finds nothing left behind.
#include "process_counts.h"

#include "support/loopback.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

namespace faults {

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

TEST(ProcessCounts, ThreadIsCounted)
{
    const std::size_t before = countProcess().threads;
    std::promise<void> end;
    std::thread thread([&] { end.get_future().wait(); });
    EXPECT_EQ(countProcess().threads, before + 1);
    end.set_value();
    thread.join();
    EXPECT_EQ(countProcess().threads, before);
}

} // namespace faults
