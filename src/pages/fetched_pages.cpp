#include "pages/fetched_pages.h"

#include "protocol/values/value_decoder.h"
#include "protocol/values/value_text.h"
#include "psp/result_reader.h"
#include "sys/exceptions.h"

#include <limits>
#include <utility>

namespace zel {

namespace {

/** Receives strokes behind what a block holds. */
class StrokesReader : public ResultReader
{
public:
    explicit StrokesReader(GrowingBlock &block) noexcept : m_block(block) {}

    void read(ValueDecoder &values, ValueText &text) override
    {
        const ValueType type = values.takeType();
        if (type == ValueType::Binary) {
            const std::uint32_t size = values.takeBinary(m_block);
            text.appendBinary({m_block.data() + m_block.size() - size, size});
            m_isReceived = true;
        } else {
            m_other = values.decodeBody(type);
            text.append(m_other, 1);
        }
    }

    void take(Value value) override { m_other = std::move(value); }

    /** Call it when the exchange has succeeded. */
    void finish()
    {
        if (m_isReceived)
            return;
        replaceAbsent(m_other);
        m_block.append(m_other.bytesView());
    }

private:
    GrowingBlock &m_block;
    Value m_other; // strokes in another form
    bool m_isReceived = false;
};

} // namespace

std::uint32_t FetchedPages::fetch(PspClient2 &psp, const PageAddress &address)
{
    addRoom(kPageHeaderLength);
    const std::size_t before = m_block.size();
    StrokesReader strokes(m_block);
    psp.getPageStf(strokes, address, PspClient2::kStrokeFormat, PspClient2::kNoLimit);
    strokes.finish();
    const auto size = static_cast<std::uint32_t>(m_block.size() - before);
    m_pages.push_back({address.raw(), size});
    return size;
}

PageData FetchedPages::encode(PspSyncRequest request, StrokesList others) &&
{
    const bool comeFirst = others.empty();
    const std::size_t entriesSize = request.encodedSize() - kRequestHeaderLength;
    // Now, because the block must not move while the request borrows from it.
    m_block.room(entriesSize);
    request.addPages(std::move(others));
    borrowTo(request);

    const std::size_t size = request.encodedSize();
    if (size > std::numeric_limits<std::uint32_t>::max())
        throw ZELException();
    PageData data{nullptr, static_cast<std::uint32_t>(size)};
    // A page that was fetched twice is in the block twice, and in the request once.
    if (comeFirst && size == m_block.size() + entriesSize) {
        request.encodeTo({m_block.data(), size});
        m_block.added(entriesSize);
        data.block = m_block.release();
    } else {
        data.block = allocateBlock(size);
        request.encodeTo({data.block.get(), size});
    }
    return data;
}

void FetchedPages::borrowTo(PspSyncRequest &request)
{
    request.expectPages(m_pages.size());
    const std::uint8_t *at = m_block.data() + kRequestHeaderLength;
    for (const Page &page : m_pages) {
        at += kPageHeaderLength;
        request.borrowPage(PageAddress(page.address), {at, page.size});
        at += page.size;
    }
}

} // namespace zel
