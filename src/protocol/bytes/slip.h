#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/** The byte stuffing of escaped binaries (RFC 1055). */
namespace zel::slip {

inline constexpr std::uint8_t kEnd = 0xC0;
inline constexpr std::uint8_t kEscape = 0xDB;
inline constexpr std::uint8_t kEscapedEnd = 0xDC;
inline constexpr std::uint8_t kEscapedEscape = 0xDD;

/** How many bytes at the front stand for themselves. */
std::size_t plainPrefix(std::span<const std::uint8_t> bytes) noexcept;

/** Size of the stuffed form, without the closing byte. */
std::size_t stuffedSize(std::span<const std::uint8_t> bytes) noexcept;

/** Writes the stuffed form, without the closing byte; returns the position behind it. */
std::uint8_t *writeStuffed(std::uint8_t *at, std::span<const std::uint8_t> bytes) noexcept;

/** What the byte behind an escape stands for, or -1 when it is none that may follow. */
constexpr int unescape(std::uint8_t byte) noexcept
{
    return byte == kEscapedEscape ? kEscape : byte == kEscapedEnd ? kEnd : -1;
}

} // namespace zel::slip
