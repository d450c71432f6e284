#pragma once

#include "protocol/addresses/bit_array.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zel {

/** An address as text, without an allocation. */
struct AddressText {
    char characters[30]; // at most five digits and a dot for each field
    std::size_t length = 0;

    std::string_view view() const noexcept { return {characters, length}; }
};

/** The address of a page of dotted paper: five fields in a 64-bit number. A field of all ones is missing: it
 *  reads as -1, is shown as "*", and sorts before every number.
 *
 *      PageAddress("1.2.3.4").getField(2)    // 1: the first field is 0
 */
class PageAddress
{
public:
    static constexpr int kFieldCount = 5;

    /** All fields are missing. */
    PageAddress() noexcept : m_bits(~std::uint64_t{0}) {}
    explicit PageAddress(std::uint64_t raw) noexcept : m_bits(raw) {}
    /** Takes "1.2.3.4" (the first field is then 0) or "1.2.3.4.5". Throws ZELException: with the text itself
     *  when it is malformed, with "BitArray - bit value overflow" when a number does not fit its field. */
    explicit PageAddress(std::string_view text);
    PageAddress(const PageAddress &) = default;
    PageAddress &operator=(const PageAddress &) = default;
    virtual ~PageAddress() = default;

    /** Positions count from 1. */
    std::int64_t getField(int position) const;
    /** A value of all ones (-1) makes the field missing. Throws ZELException as BitArray::setBits does. */
    void setField(int position, std::uint64_t value);
    std::uint64_t raw() const noexcept { return m_bits.word(); }

    /** Keys compare as addresses do. Only equal addresses have equal keys. */
    std::uint64_t sortKey() const noexcept;
    static PageAddress fromSortKey(std::uint64_t key) noexcept;
    std::string toString() const { return std::string(text().view()); }
    AddressText text() const noexcept;

    friend bool operator==(const PageAddress &a, const PageAddress &b) noexcept { return a.raw() == b.raw(); }
    friend bool operator<(const PageAddress &a, const PageAddress &b) noexcept
    {
        return a.sortKey() < b.sortKey();
    }

private:
    BitArray m_bits;
};

} // namespace zel
