#include "support/process_counts.h"

#include <chrono>
#include <ostream>
#include <thread>

namespace zel::test {

void PrintTo(const ProcessCounts &counts, std::ostream *out)
{
    *out << counts.descriptors << " descriptors, " << counts.threads << " threads";
}

ProcessCounts countProcess(const ProcessCounts &expected)
{
    constexpr int kMostTries = 2000;
    ProcessCounts counts = countProcess();
    for (int tries = 0; counts != expected && tries < kMostTries; ++tries) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        counts = countProcess();
    }
    return counts;
}

} // namespace zel::test
