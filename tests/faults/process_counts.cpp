#include "process_counts.h"

#include <ostream>

namespace faults {

void PrintTo(const ProcessCounts &counts, std::ostream *out)
{
    *out << counts.descriptors << " descriptors, " << counts.threads << " threads";
}

} // namespace faults
