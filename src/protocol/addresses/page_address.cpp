#include "protocol/addresses/page_address.h"

#include "sys/exceptions.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <iterator>
#include <optional>
#include <vector>

namespace zel {

namespace {

constexpr std::uint64_t kMissing = ~std::uint64_t{0};

struct FieldBits {
    std::int32_t from;
    std::int32_t to;

    constexpr std::uint64_t ones() const noexcept { return (std::uint64_t{1} << (to - from + 1)) - 1; }
    constexpr std::uint64_t of(std::uint64_t raw) const noexcept { return raw >> from & ones(); }
};

constexpr std::array<FieldBits, PageAddress::kFieldCount> kFields = {
    {{52, 63}, {40, 51}, {24, 39}, {12, 23}, {0, 11}}};

const FieldBits &fieldAt(int position)
{
    return kFields.at(static_cast<std::size_t>(position - 1));
}

/** Adds to each field, modulo its width. */
std::uint64_t addToEachField(std::uint64_t word, std::uint64_t number) noexcept
{
    std::uint64_t sum = 0;
    for (const FieldBits &field : kFields)
        sum |= (((word >> field.from) + number) & field.ones()) << field.from;
    return sum;
}

/** Appends a number of at most five digits. */
char *writeDecimal(char *at, unsigned number) noexcept
{
    // Without a branch: a leading zero is written and then written over.
    const auto writeDigit = [&](unsigned power) {
        *at = static_cast<char>('0' + number / power % 10);
        at += number >= power ? 1 : 0;
    };
    if (number >= 1000) {
        writeDigit(10000);
        writeDigit(1000);
    }
    writeDigit(100);
    writeDigit(10);
    *at++ = static_cast<char>('0' + number % 10);
    return at;
}

std::vector<std::string_view> splitAtDots(std::string_view text)
{
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t dot = text.find('.');
        parts.push_back(text.substr(0, dot));
        if (dot == std::string_view::npos)
            return parts;
        text.remove_prefix(dot + 1);
    }
}

// Accepts only the text that printing the number would give: no leading zeros, plus signs, blanks or further
// characters. The number is a 32-bit int on every platform.
std::optional<std::int32_t> toPlainNumber(std::string_view part)
{
    std::int32_t number = 0;
    std::from_chars(part.data(), part.data() + part.size(), number);
    char digits[16];
    const char *const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    if (part != std::string_view(digits, static_cast<std::size_t>(end - digits)))
        return std::nullopt;
    return number;
}

} // namespace

PageAddress::PageAddress(std::string_view text) : PageAddress()
{
    const std::vector<std::string_view> parts = splitAtDots(text);
    if (parts.size() != kFieldCount && parts.size() != kFieldCount - 1)
        throw ZELException(std::string(text));

    setField(1, 0);
    int position = kFieldCount - static_cast<int>(parts.size());
    bool wildcardSeen = false;
    for (const std::string_view part : parts) {
        ++position;
        if (part == "*") {
            wildcardSeen = true;
            setField(position, kMissing);
            continue;
        }
        const std::optional<std::int32_t> number = toPlainNumber(part);
        if (wildcardSeen || !number)
            throw ZELException(std::string(text));
        // The text "-1" gives a missing field, too.
        setField(position, static_cast<std::uint64_t>(std::int64_t{*number}));
    }
}

std::int64_t PageAddress::getField(int position) const
{
    const FieldBits &field = fieldAt(position);
    const std::uint64_t bits = m_bits.getBits(field.from, field.to);
    return bits == field.ones() ? -1 : static_cast<std::int64_t>(bits);
}

void PageAddress::setField(int position, std::uint64_t value)
{
    const FieldBits &field = fieldAt(position);
    m_bits.setBits(field.from, field.to, value);
}

// A missing field becomes 0 and sorts first. The fields are in the order in which they are compared.
std::uint64_t PageAddress::sortKey() const noexcept
{
    return addToEachField(raw(), 1);
}

PageAddress PageAddress::fromSortKey(std::uint64_t key) noexcept
{
    return PageAddress(addToEachField(key, ~std::uint64_t{0}));
}

AddressText PageAddress::text() const noexcept
{
    AddressText text;
    char *at = text.characters;
    for (const FieldBits &field : kFields) {
        const std::uint64_t bits = field.of(raw());
        if (bits == 0 && &field == &kFields.front())
            continue; // a first field of 0 is not shown
        if (bits == field.ones())
            *at++ = '*';
        else
            at = writeDecimal(at, static_cast<unsigned>(bits));
        *at++ = '.';
    }
    text.length = static_cast<std::size_t>(at - 1 - text.characters);
    return text;
}

} // namespace zel
