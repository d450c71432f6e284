#include "process_counts.h"

#include "sys/thread.h"

#include <ostream>

namespace faults {

void PrintTo(const ProcessCounts &counts, std::ostream *out)
{
    *out << counts.descriptors << " descriptors, " << counts.threads << " threads";
}

ProcessCounts countProcess(const ProcessCounts &expected)
{
    constexpr int kMostTries = 2000;
    ProcessCounts counts = countProcess();
    for (int tries = 0; counts != expected && tries < kMostTries; ++tries) {
        zel::sleepMilliseconds(1);
        counts = countProcess();
    }
    return counts;
}

} // namespace faults
