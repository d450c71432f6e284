#pragma once

#include "protocol/protocol_page.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace zel {

/** Finds a page of a list by its address: walking the list would make a large request quadratic. A few bytes
 *  for each page, in one block. One thread at a time. */
class PageIndex
{
public:
    /** The place of the address's page; for a new address pages.size(), where the caller then appends it. */
    std::size_t findOrAdd(const PageAddress &address, std::span<const ProtocolPage> pages);

private:
    std::size_t slotOf(const PageAddress &address, std::span<const ProtocolPage> pages) const noexcept;
    void grow(std::span<const ProtocolPage> pages);

    std::vector<std::uint32_t> m_slots; // place + 1, or 0; a power of two, half of them free
};

} // namespace zel
