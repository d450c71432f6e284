#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>

/** Network byte order, independent of the host's. Compilers make one load or store and a swap of it. */
namespace zel {

template <std::unsigned_integral UInt>
constexpr UInt loadBigEndian(const std::uint8_t *bytes) noexcept
{
    UInt value = 0;
    for (std::size_t i = 0; i < sizeof(UInt); ++i)
        value = static_cast<UInt>(value | static_cast<UInt>(bytes[i]) << (8 * (sizeof(UInt) - 1 - i)));
    return value;
}

/** Returns the position behind what was written. */
template <std::unsigned_integral UInt>
constexpr std::uint8_t *storeBigEndian(std::uint8_t *at, UInt value) noexcept
{
    for (std::size_t i = 0; i < sizeof(UInt); ++i)
        at[i] = static_cast<std::uint8_t>(value >> (8 * (sizeof(UInt) - 1 - i)));
    return at + sizeof(UInt);
}

} // namespace zel
