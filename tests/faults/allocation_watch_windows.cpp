// Nothing is watched here: the allocations of a DLL's runtime are not the program's to replace.
#include "allocation_watch.h"

namespace faults {

AllocationWatch::AllocationWatch() noexcept {} // NOLINT(modernize-use-equals-default): the twin does more
AllocationWatch::~AllocationWatch() {}         // NOLINT(modernize-use-equals-default)

void AllocationWatch::end() noexcept {}

std::size_t outstandingAllocations() noexcept
{
    return 0;
}

} // namespace faults
