#pragma once

#include <cstdint>

namespace zel {

/** A 64-bit word read and written as numbered bit fields; bit 0 is the least significant, ranges are
 *  inclusive. Shift counts are taken modulo 64, so the field 0..63 has an empty mask: it reads as 0,
 *  and writing it clears the word. Callers use narrower fields. */
class BitArray
{
public:
    BitArray() = default;
    explicit BitArray(std::uint64_t word) noexcept : m_word(word) {}
    BitArray(const BitArray &) = default;
    BitArray &operator=(const BitArray &) = default;
    virtual ~BitArray() = default;

    /** Throws ZELException on a field that ends before it starts or beyond bit 63. */
    std::uint64_t getBits(std::int32_t from, std::int32_t to) const;
    /** Throws ZELException on a value wider than the field, then as getBits. The value of all ones
     *  fills a field of any width. */
    void setBits(std::int32_t from, std::int32_t to, std::uint64_t value);

    std::uint64_t word() const noexcept { return m_word; }

private:
    std::uint64_t m_word = 0;
};

} // namespace zel
