#include "protocol/frames/request_pages.h"

namespace zel {

namespace {

constexpr std::size_t kFewestSlots = 16;

/** Addresses of neighbouring pages differ in a few bits only. The multiplication spreads them over the upper
 *  half. */
std::size_t hashOf(const PageAddress &address) noexcept
{
    return static_cast<std::size_t>((address.raw() * 0x9E3779B97F4A7C15) >> 32);
}

} // namespace

std::size_t PageIndex::findOrAdd(const PageAddress &address, std::span<const ProtocolPage> pages)
{
    if (m_slots.size() < 2 * (pages.size() + 1))
        grow(pages);
    std::uint32_t &slot = m_slots[slotOf(address, pages)];
    if (slot == 0)
        slot = static_cast<std::uint32_t>(pages.size() + 1);
    return slot - 1;
}

/** The slot of the address, or the free slot where it belongs. */
std::size_t PageIndex::slotOf(const PageAddress &address, std::span<const ProtocolPage> pages) const noexcept
{
    const std::size_t mask = m_slots.size() - 1;
    std::size_t slot = hashOf(address) & mask;
    while (m_slots[slot] != 0 && pages[m_slots[slot] - 1].address.raw() != address.raw())
        slot = (slot + 1) & mask;
    return slot;
}

void PageIndex::grow(std::span<const ProtocolPage> pages)
{
    m_slots.assign(m_slots.empty() ? kFewestSlots : 2 * m_slots.size(), 0);
    for (std::size_t place = 0; place < pages.size(); ++place)
        m_slots[slotOf(pages[place].address, pages)] = static_cast<std::uint32_t>(place + 1);
}

} // namespace zel
