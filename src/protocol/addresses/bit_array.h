#pragma once

#include <cstdint>

namespace zel {

/** Reads and writes bit fields of a 64-bit word. Bit 0 is the least significant; a field from..to includes
 *  both bits.
 *
 *      BitArray word;
 *      word.setBits(12, 23, 5);
 *      word.getBits(12, 23);     // 5
 *
 *  Shift counts are taken modulo 64. The field 0..63 therefore has an empty mask: it reads as 0, and writing
 *  it clears the word. Use narrower fields. */
class BitArray
{
public:
    BitArray() = default;
    explicit BitArray(std::uint64_t word) noexcept : m_word(word) {}
    BitArray(const BitArray &) = default;
    BitArray &operator=(const BitArray &) = default;
    virtual ~BitArray() = default;

    /** Throws ZELException when the field ends before it starts, or beyond bit 63. */
    std::uint64_t getBits(std::int32_t from, std::int32_t to) const;
    /** Throws ZELException when the value does not fit the field, or as getBits. A value of all ones fits
     *  every field and sets all its bits. */
    void setBits(std::int32_t from, std::int32_t to, std::uint64_t value);

    std::uint64_t word() const noexcept { return m_word; }

private:
    std::uint64_t m_word = 0;
};

} // namespace zel
