#pragma once

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>

/** Reads and writes numbers in network byte order, on any processor. Each takes one load or store and a byte
 *  swap; compilers do not always turn a loop over single bytes into that. */
namespace zel {

template <std::unsigned_integral UInt>
UInt swappedUnlessBigEndian(UInt value) noexcept
{
    if constexpr (std::endian::native == std::endian::big || sizeof(UInt) == 1)
        return value;
    else if constexpr (sizeof(UInt) == 2)
        return __builtin_bswap16(value);
    else if constexpr (sizeof(UInt) == 4)
        return __builtin_bswap32(value);
    else
        return __builtin_bswap64(value);
}

template <std::unsigned_integral UInt>
UInt loadBigEndian(const std::uint8_t *bytes) noexcept
{
    UInt value;
    std::memcpy(&value, bytes, sizeof value);
    return swappedUnlessBigEndian(value);
}

/** Returns the position after the bytes written. */
template <std::unsigned_integral UInt>
std::uint8_t *storeBigEndian(std::uint8_t *at, UInt value) noexcept
{
    const UInt swapped = swappedUnlessBigEndian(value);
    std::memcpy(at, &swapped, sizeof swapped);
    return at + sizeof swapped;
}

} // namespace zel
