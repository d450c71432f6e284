#pragma once

#include "protocol/addresses/bit_array.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zel {

/** The text of an address. */
struct AddressText {
    char characters[30]; // at most five digits and a dot for each field
    std::size_t length = 0;

    std::string_view view() const noexcept { return {characters, length}; }
};

/** The address of a page of dot paper: five fields in one 64-bit number. A field of all ones is missing,
 *  reads as -1, is "*" in texts and sorts before every number. */
class PageAddress
{
public:
    static constexpr int kFieldCount = 5;

    /** Every field missing. */
    PageAddress() noexcept : m_bits(~std::uint64_t{0}) {}
    explicit PageAddress(std::uint64_t raw) noexcept : m_bits(raw) {}
    /** "1.2.3.4" (the first field is 0) or "1.2.3.4.5"; throws ZELException with the text itself when it
     *  is malformed, with "BitArray - bit value overflow" when a number does not fit its field. */
    explicit PageAddress(std::string_view text);
    PageAddress(const PageAddress &) = default;
    PageAddress &operator=(const PageAddress &) = default;
    virtual ~PageAddress() = default;

    /** Positions count from 1, as in the text. */
    std::int64_t getField(int position) const;
    /** All ones (-1) makes the field missing. Throws ZELException as BitArray::setBits does. */
    void setField(int position, std::uint64_t value);
    std::uint64_t raw() const noexcept { return m_bits.word(); }

    /** Orders addresses as operator< does; equal only for equal addresses. */
    std::uint64_t sortKey() const noexcept;
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
