#pragma once

#include "pages/page_strokes.h"
#include "pages/psp_sync_request.h"
#include "protocol/addresses/page_address.h"
#include "protocol/frames/request_encoder.h"
#include "psp/psp_client2.h"
#include "sys/growing_block.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zel {

/** The result of a retrieval. The host gets the block. */
struct PageData {
    ByteBlock block;
    std::uint32_t length = 0;
};

/** The pages that are fetched from a pen. Their strokes are received into one block, each behind room for its
 *  page's header, and the first behind room for the request's. When a request begins with these pages, the
 *  block is its encoding but for the headers and what follows the pages: no stroke is copied. One thread at a
 *  time. */
class FetchedPages
{
public:
    FetchedPages() { addRoom(kRequestHeaderLength); }

    /** For that many pages in all. */
    void expect(std::size_t count) { m_pages.reserve(count); }
    /** Fetches a page's strokes, and returns how many bytes they are. Throws what the exchange throws, and
     *  ZELException when they are no bytes. */
    std::uint32_t fetch(PspClient2 &psp, const PageAddress &address);

    /** Adds first the others and then these pages to a request without pages, and encodes it. Throws
     *  ZELException when that cannot be done. */
    PageData encode(PspSyncRequest request, StrokesList others) &&;

private:
    struct Page {
        std::uint64_t address;
        std::uint32_t size;
    };

    void addRoom(std::size_t count)
    {
        m_block.room(count);
        m_block.added(count);
    }

    void borrowTo(PspSyncRequest &request);

    GrowingBlock m_block;
    std::vector<Page> m_pages;
};

} // namespace zel
