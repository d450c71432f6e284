#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace penctl {

/** A whole text of decimal digits as a number up to `most`; nothing for anything else. */
std::optional<uint64_t> parseNumber(std::string_view text, uint64_t most);

} // namespace penctl
