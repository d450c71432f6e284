#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/** Numbers read as the C library's scanf conversions read them: leading blanks, a sign, as many digits as
 *  there are. Written here because the conversions differ between C libraries and cannot be kept within
 *  a line. Empty when there is no digit. */
namespace zel {

/** "%d" */
std::optional<std::int32_t> scanDecimal(std::string_view text) noexcept;
/** "%x" of 64 bits, with an optional 0x; what does not fit gives all ones. */
std::optional<std::uint64_t> scanHexadecimal(std::string_view text) noexcept;

} // namespace zel
