#include "support/process_counts.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>

namespace zel::test {

namespace {

std::size_t entriesOf(const char *folder)
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

// A thread that has been joined stays in the list a moment longer: what wakes the one that joins it is the
// kernel, on the thread's way out. The flags are the seventh field after the name in brackets; see proc(5).
bool isRunning(const std::filesystem::directory_entry &thread)
{
    constexpr unsigned long kExiting = 0x4;
    constexpr auto kMost = std::numeric_limits<std::streamsize>::max();
    std::ifstream file(thread.path() / "stat");
    std::string field;
    unsigned long flags = kExiting;
    file.ignore(kMost, ')') >> field >> field >> field >> field >> field >> field >> flags;
    return (flags & kExiting) == 0;
}

std::size_t threadsOfProcess()
{
    return static_cast<std::size_t>(
        std::ranges::count_if(std::filesystem::directory_iterator("/proc/self/task"), isRunning));
}

} // namespace

ProcessCounts countProcess()
{
    return {.descriptors = entriesOf("/proc/self/fd"), .threads = threadsOfProcess()};
}

bool countsExactly() noexcept
{
    return true;
}

} // namespace zel::test
