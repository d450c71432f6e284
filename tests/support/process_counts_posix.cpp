#include "support/process_counts.h"

#include <filesystem>
#include <iterator>

namespace zel::test {

namespace {

std::size_t entriesOf(const char *folder)
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

} // namespace

ProcessCounts countProcess()
{
    return {.descriptors = entriesOf("/proc/self/fd"), .threads = entriesOf("/proc/self/task")};
}

bool countsExactly() noexcept
{
    return true;
}

} // namespace zel::test
