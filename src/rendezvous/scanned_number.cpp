#include "rendezvous/scanned_number.h"

#include <limits>

namespace zel {

namespace {

constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();

bool isBlank(char character) noexcept
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

bool takeSign(std::string_view &text) noexcept
{
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+'))
        text.remove_prefix(1);
    return negative;
}

int digitValue(char character) noexcept
{
    if (character >= '0' && character <= '9')
        return character - '0';
    const char lower = static_cast<char>(character | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : 16;
}

std::optional<std::uint64_t> takeDigits(std::string_view text, unsigned radix) noexcept
{
    std::optional<std::uint64_t> number;
    for (const char character : text) {
        const auto digit = static_cast<unsigned>(digitValue(character));
        if (digit >= radix)
            break;
        const std::uint64_t before = number.value_or(0);
        const bool fits = before <= (kLargest - digit) / radix;
        number = fits ? before * radix + digit : kLargest;
    }
    return number;
}

std::uint64_t withSign(std::uint64_t magnitude, bool negative) noexcept
{
    return negative && magnitude != kLargest ? 0 - magnitude : magnitude;
}

} // namespace

std::optional<std::int32_t> scanDecimal(std::string_view text) noexcept
{
    const bool negative = takeSign(text);
    const auto magnitude = takeDigits(text, 10);
    if (!magnitude)
        return std::nullopt;
    return static_cast<std::int32_t>(withSign(*magnitude, negative));
}

std::optional<std::uint64_t> scanHexadecimal(std::string_view text) noexcept
{
    const bool negative = takeSign(text);
    if (text.size() > 2 && text[0] == '0' && (text[1] | 0x20) == 'x' && digitValue(text[2]) < 16)
        text.remove_prefix(2);
    const auto magnitude = takeDigits(text, 16);
    if (!magnitude)
        return std::nullopt;
    return withSign(*magnitude, negative);
}

} // namespace zel
