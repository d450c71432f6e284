#pragma once

#include <cstdint>
#include <memory_resource>
#include <span>
#include <vector>

namespace zel {

/** Counts of elements. The caller provides the memory. */
using EncodedCounts = std::pmr::vector<std::uint32_t>;

/** Whether the bytes decode to exactly one value, with no byte left. This is asked for every binary that is
 *  shown in a text, and most of those are megabytes of strokes. Therefore it builds no values, skips the
 *  contents of binaries, and never throws. */
bool isOneEncodedValue(std::span<const std::uint8_t> bytes) noexcept;

/** As isOneEncodedValue(). If so, it also appends the number of elements of each terminated array, because
 *  their wire form does not tell it. The array that starts last comes first. */
bool scanEncodedValue(std::span<const std::uint8_t> bytes, EncodedCounts &terminatedCounts);

} // namespace zel
