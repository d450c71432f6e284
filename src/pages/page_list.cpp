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

void PageList::sort()
{
    struct Place {
        std::uint64_t key;
        std::size_t index;
    };
    std::vector<Place> places;
    places.reserve(m_pages.size());
    for (std::size_t i = 0; i < m_pages.size(); ++i)
        places.push_back({m_pages[i].address().sortKey(), i});
    std::ranges::stable_sort(places, {}, &Place::key);

    std::vector<PenPage> sorted;
    sorted.reserve(m_pages.size());
    for (const Place &place : places)
        sorted.push_back(m_pages[place.index]);
    m_pages = std::move(sorted);
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
