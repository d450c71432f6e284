#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/** Reads numbers as scanf() does: leading blanks, a sign, then as many digits as there are. Not scanf()
 *  itself: C libraries differ, and scanf() would read past the end of a line. The result is empty when there
 *  is no digit. */
namespace zel {

/** As scanf("%d"). */
std::optional<std::int32_t> scanDecimal(std::string_view text) noexcept;
/** As scanf("%x") with 64 bits: 0x is optional, and a number that does not fit gives all ones. */
std::optional<std::uint64_t> scanHexadecimal(std::string_view text) noexcept;

} // namespace zel
