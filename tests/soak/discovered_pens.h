#pragma once

#include "random.h"

#include "zel/zel.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>

namespace soak {

/** What the listener told: the library, initialised for as long as this lives, and the records it handed
 *  out. Any thread may ask. Records stay until the end, also those of pens that went. */
class DiscoveredPens
{
public:
    DiscoveredPens();
    ~DiscoveredPens();
    DiscoveredPens(const DiscoveredPens &) = delete;
    DiscoveredPens &operator=(const DiscoveredPens &) = delete;

    /** Mostly the youngest arrival of some pen, else any. Null while none came. */
    const DiscoveryHandle *some(Random &random);
    /** Everything told so far is old: see next(). */
    void forget();
    /** The arrival of the pen since forget(); null when it does not come in time. */
    const DiscoveryHandle *next(std::uint64_t penId, std::chrono::seconds patience);

private:
    static void onRecord(DiscoveryHandle *record, void *context);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<DiscoveryHandle *> m_arrivals;
    std::size_t m_old = 0;
};

} // namespace soak
