#include "protocol/addresses/bit_array.h"

#include "sys/exceptions.h"

namespace zel {

namespace {

constexpr std::uint64_t kAllOnes = ~std::uint64_t{0};

// Shifts as the processor does: only the low six bits of the count matter.
std::uint64_t shiftLeft(std::uint64_t value, std::int64_t count) noexcept
{
    return value << (count & 63);
}

std::uint64_t shiftRight(std::uint64_t value, std::int64_t count) noexcept
{
    return value >> (count & 63);
}

std::uint64_t widthMask(std::int32_t from, std::int32_t to) noexcept
{
    return shiftLeft(1, std::int64_t{to} - from + 1) - 1;
}

std::uint64_t fieldMask(std::int32_t from, std::int32_t to)
{
    if (from > to || from >= 64 || to >= 64)
        throw ZELException("BitArray - Invalid bit number");
    return shiftLeft(widthMask(from, to), from);
}

} // namespace

std::uint64_t BitArray::getBits(std::int32_t from, std::int32_t to) const
{
    return shiftRight(m_word & fieldMask(from, to), from);
}

void BitArray::setBits(std::int32_t from, std::int32_t to, std::uint64_t value)
{
    if (value != kAllOnes && value != (value & widthMask(from, to)))
        throw ZELException("BitArray - bit value overflow");
    const std::uint64_t mask = fieldMask(from, to);
    // Only the field 0..63 has an empty mask. Writing it clears the word.
    m_word = mask == 0 ? 0 : (m_word & ~mask) | (shiftLeft(value, from) & mask);
}

} // namespace zel
