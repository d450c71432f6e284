#pragma once

#include "pages/page_strokes.h"
#include "protocol/frames/request_encoder.h"
#include "protocol/values/value.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace zel {

/** The page data that a retrieval gives to the host. It is a page-transaction request to pidget 549 of every
 *  page, with the pen's identity, its properties and the strokes of its pages. The request takes over the
 *  values. One thread at a time. */
class PspSyncRequest
{
public:
    PspSyncRequest();

    void setPenId(std::uint64_t penId);
    void addProperty(std::uint16_t id, Value value);
    /** When the same page is added again, its strokes replace the earlier ones. */
    void addPage(PenPageStrokes page);
    void addPages(StrokesList pages);
    /** The strokes are borrowed until the request is encoded, as borrowPageData() says. */
    void borrowPage(const PageAddress &address, std::span<const std::uint8_t> strokes);
    /** As RequestEncoder::expectPages(). */
    void expectPages(std::size_t count);

    /** Throws ZELException when the request cannot be encoded, as encodeTo() does. */
    std::size_t encodedSize() const;
    /** Writes the request into a block of exactly encodedSize() bytes. Frees each page as soon as it is
     *  written. */
    void encodeTo(std::span<std::uint8_t> block);

private:
    std::unique_ptr<RequestEncoder> m_encoder;
};

} // namespace zel
