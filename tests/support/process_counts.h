#pragma once

#include <cstddef>
#include <iosfwd>

namespace zel::test {

/** What the process holds; a call that cleans up after itself leaves it as it was. */
struct ProcessCounts {
    /** Descriptors on Linux, handles on Windows. */
    std::size_t descriptors = 0;
    std::size_t threads = 0;

    bool operator==(const ProcessCounts &) const = default;
};

void PrintTo(const ProcessCounts &counts, std::ostream *out);

ProcessCounts countProcess();
/** The same, once they are as expected: a socket that its service is about to close, and on Windows a thread
 *  that has been joined, count a moment longer. Waits for some seconds at the most. */
ProcessCounts countProcess(const ProcessCounts &expected);

/** Whether the counts can be had after every call, and to the one. Not under Wine, where they take long, a
 *  socket that a service has closed may live on until the service is gone, and the system itself keeps a
 *  handle now and then. */
bool countsExactly() noexcept;

} // namespace zel::test
