#include "pages/pen_page.h"

#include "protocol/values/value_convert.h"
#include "sys/exceptions.h"

namespace zel {

namespace {

/** A pen may send a number in any width. Throws ZELException when the item is no number. */
template <class UInt>
UInt numberOf(const Value &item)
{
    if (!isNumber(item))
        throw ZELException();
    return toNumber<UInt>(item);
}

} // namespace

PenPage::PenPage(const Value &value)
{
    const ValueList &items = value.getArray();
    if (items.size() != 2)
        return;
    m_address = PageAddress(numberOf<std::uint64_t>(items[0]));
    m_size = numberOf<std::uint32_t>(items[1]);
}

PenPage &PenPage::operator=(const PenPage &other) = default;

bool PenPage::operator<(const PenPage &other) const
{
    return m_address < other.m_address;
}

} // namespace zel
