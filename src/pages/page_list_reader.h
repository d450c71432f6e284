#pragma once

#include "pages/page_list.h"
#include "psp/result_reader.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace zel {

/** Takes a pen's list of pages off the stream page by page: it runs to tens of thousands of items, of which
 *  no values are made. */
class PageListReader : public ResultReader
{
public:
    void read(ValueDecoder &values, ValueText &text) override;
    void take(std::unique_ptr<Value> value) override { m_answer = std::move(value); }

    /** The pages in the pen's order. Throws ZELException as PageList does. */
    PageList pages() &&;

private:
    /** An item of another form than pens send, whose page stands at that place. */
    struct OtherItem {
        std::size_t place;
        std::unique_ptr<Value> value;
    };

    void readItem(ValueDecoder &values, ValueText &text);
    PenPage readPage(ValueDecoder &values, ValueText &text);
    std::uint64_t readNumber(ValueDecoder &values, ValueText &text);

    std::unique_ptr<Value> m_answer; // unless it is a value array
    std::vector<PenPage> m_pages;
    std::vector<OtherItem> m_others;
    bool m_isArray = false;
    bool m_isUsable = true;
};

} // namespace zel
