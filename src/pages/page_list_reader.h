#pragma once

#include "pages/page_list.h"
#include "psp/result_reader.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace zel {

/** Reads a pen's list of pages from the stream, page by page. The list can have tens of thousands of items,
 *  so it is not decoded to values. */
class PageListReader : public ResultReader
{
public:
    void read(ValueDecoder &values, ValueText &text) override;
    void take(Value value) override { m_answer = std::move(value); }

    /** The pages in the pen's order. Throws ZELException as PageList does. */
    PageList pages() &&;

private:
    /** An item of an unusual form, and the index of its page. */
    struct OtherItem {
        std::size_t place;
        Value value;
    };

    void readItem(ValueDecoder &values, ValueText &text);
    PenPage readPage(ValueDecoder &values, ValueText &text);
    std::uint64_t readNumber(ValueDecoder &values, ValueText &text);

    Value m_answer; // unless it is a value array
    std::vector<PenPage> m_pages;
    std::vector<OtherItem> m_others;
    bool m_isArray = false;
    bool m_isUsable = true;
};

} // namespace zel
