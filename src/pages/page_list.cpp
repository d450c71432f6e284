#include "pages/page_list.h"

#include "protocol/values/value_convert.h"
#include "sys/exceptions.h"

#include <algorithm>
#include <cstdint>

namespace zel {

namespace {

// An item can be a single byte, a page is larger. So reserve room for this many only; after that the list
// grows.
constexpr std::size_t kPagesOnTrust = 0xFFFF;

} // namespace

PageList::PageList(const Value &answer)
{
    if (isNull(answer))
        return;
    const ValueList &items = answer.getArray();
    m_pages.reserve(std::min(items.size(), kPagesOnTrust));
    for (const Value &item : items)
        m_pages.emplace_back(item);
}

// A key tells its address, so only keys and sizes are sorted, which are less than half as large as pages.
void PageList::sort()
{
    struct Keyed {
        std::uint64_t key;
        std::uint32_t size;
    };
    std::vector<Keyed> sorted;
    sorted.reserve(m_pages.size());
    for (const PenPage &page : m_pages)
        sorted.push_back({page.address().sortKey(), page.getSize()});
    std::ranges::stable_sort(sorted, {}, &Keyed::key);

    m_pages.clear();
    for (const Keyed &page : sorted)
        m_pages.emplace_back(PageAddress::fromSortKey(page.key), page.size);
}

std::string PageList::toString() const
{
    std::string text;
    for (const PenPage &page : m_pages) {
        text += page.address().text().view();
        text += ';';
    }
    return text;
}

} // namespace zel
