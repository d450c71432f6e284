#pragma once

#include "process_memory.h"

#include "faults/process_counts.h"

#include <string>
#include <vector>

namespace soak {

/** What the process held after one round. */
struct Sample {
    ProcessMemory memory;
    faults::ProcessCounts counts;
};

/** Whether a process keeps what it has: compares the last quarter of the rounds with the second, the
 *  first being its warming up. */
class Growth
{
public:
    void add(const Sample &sample) { m_samples.push_back(sample); }

    /** Empty when nothing grew; else what did. */
    std::string complaint() const;
    /** The typical sample of a quarter, from 0 on. */
    Sample typical(std::size_t quarter) const;
    std::size_t samples() const { return m_samples.size(); }

private:
    std::vector<Sample> m_samples;
};

} // namespace soak
