#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>

#include "host/host_memory.h"

namespace penctl {

/** The queue between the library's listener thread, which announces pens, and the command's thread, which
 * does something about them. The listener hears of the next pen only after the callback has returned, so the
 * callbacks do nothing but put the record here. */
class PenEvents
{
public:
    /** The callbacks for zelInitialize and zelDfuInit; their context is the queue. */
    static void announce(DiscoveryHandle *record, void *queue) noexcept;

    /** The next announcement, or nothing when none comes within the time. */
    std::optional<PenRecord> next(std::chrono::milliseconds timeout);

private:
    std::mutex m_mutex;
    std::condition_variable m_announced;
    std::deque<PenRecord> m_records;
};

} // namespace penctl
