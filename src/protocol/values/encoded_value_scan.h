#pragma once

#include <cstdint>
#include <memory_resource>
#include <span>
#include <vector>

namespace zel {

/** Counts of elements, in memory that whoever counts provides. */
using EncodedCounts = std::pmr::vector<std::uint32_t>;

/** Whether the bytes decode to exactly one value with nothing left over. Every binary that is shown asks,
 *  mostly about megabytes of strokes that are no value: the answer builds nothing, takes time in proportion
 *  to the headers passed (the contents of binaries are stepped over) and never throws. */
bool isOneEncodedValue(std::span<const std::uint8_t> bytes) noexcept;

/** As isOneEncodedValue; of an encoded value it appends the element count of each terminated array (their
 *  wire form has none), those of arrays that start later before those that start earlier. */
bool scanEncodedValue(std::span<const std::uint8_t> bytes, EncodedCounts &terminatedCounts);

} // namespace zel
