#include "pages/psp_sync_request.h"

#include "protocol/addresses/pidget_address.h"
#include "protocol/frames/protocol_driver.h"
#include "psp/property_ids.h"

#include <utility>

namespace zel {

namespace {

constexpr std::string_view kEveryPage = "*.*.*.*:549";

} // namespace

PspSyncRequest::PspSyncRequest()
    : m_encoder(
          protocolDriverFinder().find(kProtocolVersion1_0).createRequestEncoder(PidgetAddress(kEveryPage)))
{
}

void PspSyncRequest::setPenId(std::uint64_t penId)
{
    addProperty(property::PEN_ID, Value::createLong(penId));
}

void PspSyncRequest::addProperty(std::uint16_t id, Value value)
{
    m_encoder->addEntry(id, std::move(value));
}

void PspSyncRequest::addPage(PenPageStrokes page)
{
    m_encoder->setPageData(page.address(), page.takeStrokes());
}

void PspSyncRequest::addPages(StrokesList pages)
{
    expectPages(pages.size());
    for (PenPageStrokes &page : pages)
        addPage(std::move(page));
}

void PspSyncRequest::borrowPage(const PageAddress &address, std::span<const std::uint8_t> strokes)
{
    m_encoder->borrowPageData(address, strokes);
}

void PspSyncRequest::expectPages(std::size_t count)
{
    m_encoder->expectPages(count);
}

std::size_t PspSyncRequest::encodedSize() const
{
    return m_encoder->encodedSize();
}

void PspSyncRequest::encodeTo(std::span<std::uint8_t> block)
{
    m_encoder->encodeTo(block);
}

} // namespace zel
