#pragma once

#include "pages/pen_page.h"
#include "protocol/values/value.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace zel {

/** A list of pages, in the pen's order until sort() is called. */
class PageList
{
public:
    PageList() = default;
    /** From the pen's answer, in its order. The null value gives an empty list; any other answer that is no
     *  list of pages throws ZELException. */
    explicit PageList(const Value &answer);
    explicit PageList(std::vector<PenPage> pages) noexcept : m_pages(std::move(pages)) {}

    void append(PenPage page) { m_pages.push_back(std::move(page)); }
    /** Sorts by address, ascending. Pages with the same address keep their order. */
    void sort();

    std::size_t size() const noexcept { return m_pages.size(); }
    bool empty() const noexcept { return m_pages.empty(); }
    const PenPage &operator[](std::size_t index) const { return m_pages[index]; }
    auto begin() const noexcept { return m_pages.begin(); }
    auto end() const noexcept { return m_pages.end(); }

    /** All addresses, each followed by ";". */
    std::string toString() const;

private:
    std::vector<PenPage> m_pages;
};

} // namespace zel
