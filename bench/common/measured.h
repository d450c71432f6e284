#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace zel::bench {

/** What the interposed counter (counter.cpp) knows, in the order of its array. */
enum Count { kAllocations, kReceives, kSends, kEmptySends, kCounts };
using Counts = std::array<std::uint64_t, kCounts>;

/** The part of a run that counts: from construction to stop(). Takes the time, the growth of
 *  resident memory at its highest, and the counts when the program runs with the counter. */
class Measured
{
public:
    Measured();
    /** Tells everything on standard output, as "seconds", "peak", "allocations" and so on. */
    void stop();

private:
    std::size_t m_residentBefore;
    Counts m_before;
    std::chrono::steady_clock::time_point m_start;
};

} // namespace zel::bench
