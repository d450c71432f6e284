#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace zel::test {

/** A run of this process's memory, and what the system calls it. */
struct Region {
    std::span<const std::uint8_t> bytes;
    char name[24];
};

/** Fills in what of this process's memory can be read and written, heaps, stacks and globals alike, and tells
 *  how many regions there are. Takes no memory itself: that might be what was just released. */
std::size_t writableRegions(std::span<Region> regions) noexcept;

} // namespace zel::test
