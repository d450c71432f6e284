#pragma once

#include "pages/page_strokes.h"
#include "protocol/frames/request_encoder.h"
#include "protocol/values/value.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace zel {

/** What a page retrieval hands to the host: one page-transaction request, addressed to pidget 549 of
 *  every page, that carries the pen's identity, its properties and the strokes of its pages. Values
 *  are taken over. One thread at a time. */
class PspSyncRequest
{
public:
    PspSyncRequest();

    void setPenId(std::uint64_t penId);
    void addProperty(std::uint16_t id, std::unique_ptr<Value> value);
    /** A page added again replaces the first one's strokes. */
    void addPage(PenPageStrokes page);
    void addPages(StrokesList pages);

    /** Both throw ZELException when the request has no wire form. */
    std::size_t encodedSize() const;
    /** Into a block of exactly encodedSize() bytes; each page is released as soon as it is written. */
    void encodeTo(std::span<std::uint8_t> block);

private:
    std::unique_ptr<RequestEncoder> m_encoder;
};

} // namespace zel
