#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/** The escapes of escaped binaries (RFC 1055). An end byte marks the end; an end byte or an escape byte among
 *  the contents is replaced by two bytes. */
namespace zel::slip {

inline constexpr std::uint8_t kEnd = 0xC0;
inline constexpr std::uint8_t kEscape = 0xDB;
inline constexpr std::uint8_t kEscapedEnd = 0xDC;
inline constexpr std::uint8_t kEscapedEscape = 0xDD;

/** How many bytes there are before the first that must be escaped. */
std::size_t plainPrefix(std::span<const std::uint8_t> bytes) noexcept;

/** The size with all escapes, without the end byte. */
std::size_t stuffedSize(std::span<const std::uint8_t> bytes) noexcept;

/** Writes the bytes with all escapes, without the end byte. Returns the position after them. */
std::uint8_t *writeStuffed(std::uint8_t *at, std::span<const std::uint8_t> bytes) noexcept;

/** The byte that an escape and this byte stand for; -1 when this byte may not follow an escape. */
constexpr int unescape(std::uint8_t byte) noexcept
{
    return byte == kEscapedEscape ? kEscape : byte == kEscapedEnd ? kEnd : -1;
}

} // namespace zel::slip
