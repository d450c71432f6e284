#include "pen_description.h"

#include <fmt/format.h>
#include <stdexcept>

namespace pensim {

namespace {

struct Field {
    int shift;
    std::uint64_t mask; // also the value that stands for a missing field
};

constexpr Field kFields[] = {{52, 0xfff}, {40, 0xfff}, {24, 0xffff}, {12, 0xfff}, {0, 0xfff}};

std::vector<std::string> splitAtDots(const std::string &text)
{
    std::vector<std::string> parts(1);
    for (const char character : text) {
        if (character == '.')
            parts.emplace_back();
        else
            parts.back() += character;
    }
    return parts;
}

std::uint64_t parseField(const std::string &part, const Field &field, const std::string &text)
{
    if (part == "*")
        return field.mask;
    std::size_t used = 0;
    const bool digits =
        !part.empty() && part.size() <= 5 && part.find_first_not_of("0123456789") == part.npos;
    const std::uint64_t number = digits ? std::stoull(part, &used) : 0;
    if (!digits || number > field.mask)
        throw std::invalid_argument("bad page address " + text);
    return number;
}

std::string fieldText(std::uint64_t address, const Field &field)
{
    const std::uint64_t number = address >> field.shift & field.mask;
    return number == field.mask ? "*" : fmt::format("{}", number);
}

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

std::uint64_t parsePageAddress(const std::string &text)
{
    const std::vector<std::string> parts = splitAtDots(text);
    if (parts.size() != 4 && parts.size() != 5)
        throw std::invalid_argument("bad page address " + text);
    const std::size_t skipped = 5 - parts.size();
    std::uint64_t address = 0;
    for (std::size_t i = 0; i < parts.size(); ++i)
        address |= parseField(parts[i], kFields[i + skipped], text) << kFields[i + skipped].shift;
    return address;
}

std::string pageAddressText(std::uint64_t address)
{
    std::string text;
    for (const Field &field : kFields) {
        if (&field == kFields && address >> 52 == 0)
            continue;
        text += (text.empty() ? "" : ".") + fieldText(address, field);
    }
    return text;
}

std::optional<std::uint64_t> nextPageAddress(std::uint64_t address)
{
    for (auto field = std::rbegin(kFields); field != std::rend(kFields); ++field) {
        const std::uint64_t last = field->mask - 1;
        const std::uint64_t one = std::uint64_t{1} << field->shift;
        if ((address >> field->shift & field->mask) < last)
            return address + one;
        address &= ~(field->mask << field->shift); // and carry
    }
    return std::nullopt;
}

bool pageAddressMatches(std::uint64_t address, std::uint64_t pattern)
{
    for (const Field &field : kFields) {
        const std::uint64_t wanted = pattern >> field.shift & field.mask;
        if (wanted != field.mask && wanted != (address >> field.shift & field.mask))
            return false;
    }
    return true;
}

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

std::uint32_t PageSpec::size() const
{
    return listedSize.value_or(static_cast<std::uint32_t>(strokes.bytes().size()));
}

Bytes generatedStrokes(std::size_t size, std::uint64_t seed)
{
    Bytes bytes(size);
    for (std::uint8_t &byte : bytes) {
        seed = seed * 6364136223846793005u + 1442695040888963407u;
        byte = static_cast<std::uint8_t>(seed >> 56);
    }
    return bytes;
}

} // namespace pensim
