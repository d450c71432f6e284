#pragma once

#include "common/settings.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

#include <time.h>

namespace zel::bench {

/** What the preloaded counter (counter.cpp) counts, in the order of its array. */
enum Count { kAllocations, kReceives, kSends, kEmptySends, kCounts };
using Counts = std::array<std::uint64_t, kCounts>;

/** The part of a run that is measured: from construction to stop(). Measures the time, the processor time of
 *  this program and of the server, the largest growth of resident memory, and the counts if the program runs
 *  with the counter. */
class Measured
{
public:
    /** The setting "server" is the process id of the server. */
    explicit Measured(const Settings &settings);
    /** Prints all figures on standard output, as "seconds", "peak", "allocations" and so on. */
    void stop();

private:
    std::chrono::duration<double> processorTime() const;

    clockid_t m_serverClock = CLOCK_PROCESS_CPUTIME_ID;
    bool m_hasServer = false;
    std::size_t m_residentBefore;
    Counts m_before;
    std::chrono::duration<double> m_processorTime;
    std::chrono::steady_clock::time_point m_start;
};

} // namespace zel::bench
