#pragma once

#include "process_memory.h"

#include "support/process_counts.h"

#include <string>
#include <vector>

namespace soak {

/** What the process held after one round. */
struct Sample {
    ProcessMemory memory;
    zel::test::ProcessCounts counts;
};

/** Whether a process keeps what it has: compares the last quarter of the rounds with the second, the
 *  first being its warming up. */
class Growth
{
public:
    Growth() { m_samples.reserve(kMostSamples); }

    void add(const Sample &sample);

    /** Empty when nothing grew; else what did. */
    std::string complaint() const;
    /** The typical sample of a quarter, from 0 on. */
    Sample typical(std::size_t quarter) const;
    std::size_t samples() const { return m_samples.size(); }

private:
    /** The samples must not be what grows: when there are so many, every second one is dropped. */
    static constexpr std::size_t kMostSamples = 4096;

    std::vector<Sample> m_samples;
    std::size_t m_stride = 1;
    std::size_t m_rounds = 0;
};

} // namespace soak
