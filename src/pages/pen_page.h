#pragma once

#include "protocol/addresses/page_address.h"
#include "protocol/values/value.h"

#include <cstdint>

namespace zel {

/** A page as the pen lists it: its address and the bytes of stroke data that the pen holds for it. */
class PenPage
{
public:
    /** Every field of the address missing, size 0. */
    PenPage() = default;
    PenPage(const PageAddress &address, std::uint32_t size) noexcept : m_address(address), m_size(size) {}
    /** From a list of a long64 (raw address) and an int32 (size). A list of any other length leaves the
     *  default; anything but a list, or items of other types, raise ZELException. */
    explicit PenPage(const Value &value);
    PenPage(const PenPage &) = default;
    virtual ~PenPage() = default;

    virtual PenPage &operator=(const PenPage &other);
    virtual bool operator<(const PenPage &other) const;
    virtual PageAddress getAddress() const { return m_address; }
    virtual std::uint32_t getSize() const { return m_size; }

    const PageAddress &address() const noexcept { return m_address; }

private:
    PageAddress m_address;
    std::uint32_t m_size = 0;
};

} // namespace zel
