#pragma once

#include "protocol/addresses/page_address.h"
#include "protocol/values/value.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <vector>

namespace zel {

/** Keyed values of a request or of one of its pages, in ascending key order. */
using EntryMap = std::map<std::uint16_t, std::unique_ptr<Value>>;

/** One page of a page-transaction request. */
struct ProtocolPage {
    PageAddress address;
    std::unique_ptr<EntryMap> entries; // empty for most pages, of which there may be thousands
    std::unique_ptr<Value> data;       // binary or escaped binary; empty when the page has none
};

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
