#include "pages/pen_page.h"

#include "sys/exceptions.h"

namespace zel {

namespace {

const Value &present(const std::unique_ptr<Value> &item)
{
    if (!item)
        throw ZELException();
    return *item;
}

} // namespace

PenPage::PenPage(const Value &value)
{
    const ValueList &items = value.getArray();
    if (items.size() != 2)
        return;
    m_address = PageAddress(present(items[0]).getLong());
    m_size = present(items[1]).getInt();
}

PenPage &PenPage::operator=(const PenPage &other) = default;

bool PenPage::operator<(const PenPage &other) const
{
    return m_address < other.m_address;
}

} // namespace zel
