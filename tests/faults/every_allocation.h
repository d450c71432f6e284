#pragma once

#include <cstddef>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>

namespace faults {

/** One allocation after the other is the first that fails, until there is none: check(n) makes the n-th fail
 *  and answers whether there was one. Returns how many there were. */
template <class Check>
std::size_t failEveryAllocation(Check check)
{
    constexpr std::size_t kMost = 5000;
    std::size_t n = 0;
    bool failed = true;
    while (failed && n < kMost && !testing::Test::HasFailure()) {
        ++n;
        SCOPED_TRACE("allocation " + std::to_string(n));
        failed = check(n);
    }
    EXPECT_FALSE(failed);
    const std::size_t failures = n == 0 ? 0 : n - 1;
    std::printf("[ matrix   ] %6zu failing allocations\n", failures);
    return failures;
}

} // namespace faults
