#include "pen/parse_number.h"

#include <charconv>
#include <system_error>

namespace penctl {

std::optional<uint64_t> parseNumber(std::string_view text, uint64_t most)
{
    uint64_t number = 0;
    const char *end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stopped != end || number > most)
        return std::nullopt;
    return number;
}

} // namespace penctl
