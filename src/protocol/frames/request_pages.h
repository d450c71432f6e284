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
using EntryMap = std::map<std::uint16_t, Value>;

/** One page of a page-transaction request. */
struct ProtocolPage {
    struct Owned {
        EntryMap entries;
        Value data; // binary or escaped binary; absent when the page has none
    };

    PageAddress address;
    std::span<const std::uint8_t> borrowed; // data that somebody else owns
    std::unique_ptr<Owned> owned;           // empty for most pages, of which there may be thousands

    bool hasData() const noexcept { return ownsData() || borrowed.data() != nullptr; }
    std::span<const std::uint8_t> data() const { return ownsData() ? owned->data.bytesView() : borrowed; }
    std::size_t entryCount() const noexcept { return owned ? owned->entries.size() : 0; }

private:
    bool ownsData() const noexcept { return owned && !owned->data.isAbsent(); }
};

/** A hash table that finds a page of a request by its address. Searching the list would take quadratic time
 *  for a large request. It needs a few bytes for each page. One thread at a time. */
class PageIndex
{
public:
    /** The index of the page with this address. For a new address it is pages.size(), and the caller must
     *  append the page there. */
    std::size_t findOrAdd(const PageAddress &address, std::span<const ProtocolPage> pages);

private:
    std::size_t slotOf(const PageAddress &address, std::span<const ProtocolPage> pages) const noexcept;
    void grow(std::span<const ProtocolPage> pages);

    std::vector<std::uint32_t> m_slots; // place + 1, or 0; a power of two, half of them free
};

} // namespace zel
