#pragma once

#include "protocol/addresses/page_address.h"
#include "protocol/values/value.h"

#include <cstdint>

namespace zel {

/** An item of the pen's list of pages: the page's address, and how many bytes of strokes the pen has for it.
 */
class PenPage
{
public:
    /** An address with all fields missing, and size 0. */
    PenPage() = default;
    PenPage(const PageAddress &address, std::uint32_t size) noexcept : m_address(address), m_size(size) {}
    /** From an array of two numbers: the raw address and the size. An array of another length gives the same
     *  as the default constructor. Throws ZELException when the value is no array or an item is no number. */
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
