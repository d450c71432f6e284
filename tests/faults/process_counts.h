#pragma once

#include <cstddef>
#include <iosfwd>

namespace faults {

/** What the process holds; a call that cleans up after itself leaves it as it was. */
struct ProcessCounts {
    /** Descriptors on Linux, handles on Windows. */
    std::size_t descriptors = 0;
    std::size_t threads = 0;

    bool operator==(const ProcessCounts &) const = default;
};

void PrintTo(const ProcessCounts &counts, std::ostream *out);

ProcessCounts countProcess();

/** Whether the counts can be had after every call. Not under Wine, where they take long, and where a
 *  socket that a service has closed now and then lives on until the service is gone. */
bool countsQuickly() noexcept;

} // namespace faults
