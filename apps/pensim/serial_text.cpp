#include "serial_text.h"

#include <string_view>

namespace pensim {

namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHJKMNPQRSTUWXYZ23456789";

std::string digits(std::uint64_t number, int width)
{
    std::string text(static_cast<std::size_t>(width), kAlphabet.front());
    for (auto digit = text.rbegin(); digit != text.rend(); ++digit, number /= kAlphabet.size())
        *digit = kAlphabet[number % kAlphabet.size()];
    return text;
}

// Each half counts as a signed number, as the pens' own labels do.
std::uint64_t signedHalf(std::uint64_t half)
{
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(static_cast<std::int32_t>(half)));
}

} // namespace

std::string serialText(std::uint64_t penId)
{
    constexpr std::uint64_t invalid = ~std::uint64_t{0};
    if (penId == invalid)
        return "INVALID-PEN-ID";
    const std::string group = digits(signedHalf(penId >> 32), 3);
    const std::string serial = digits(signedHalf(penId & 0xffffffff), 6);
    const std::string check = digits(penId % 877, 2);
    return group + "-" + serial.substr(0, 3) + "-" + serial.substr(3) + "-" + check;
}

} // namespace pensim
