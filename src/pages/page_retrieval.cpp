#include "pages/page_retrieval.h"

#include "pages/page_list_reader.h"
#include "pages/page_selection.h"
#include "protocol/values/value_convert.h"
#include "psp/property_ids.h"
#include "sys/exceptions.h"
#include "sys/log.h"

#include <utility>

namespace zel {

namespace {

constexpr std::uint16_t kMmiRetrieving = 1;
constexpr std::uint16_t kMmiSucceeded = 2;
constexpr std::uint16_t kMmiFailed = 3;

constexpr std::uint16_t kIdentifyingProperties[] = {
    property::PGC_VERSION,
    property::PEN_SOFTWARE_VERSION,
    property::SYSTEM_TIME,
    property::PEN_OWNER_LOCALE,
    property::PEN_OWNER_VCARD,
    property::PEN_OWNER_EMAIL,
    property::PEN_OWNER_CELL_PHONE,
    property::MANUFACTURER_DATA,
    property::PEN_BRAND,
    property::DAS_DIFF,
};

/** Every address in the list must select exactly one page of the pen. */
bool selectionMatches(std::size_t requested, std::size_t selected)
{
    if (requested == 0)
        LogError("[GetPages] no pages found in page address list");
    else if (selected == 0)
        LogError("[GetPages] no pages from the page address list found in pen");
    else if (requested != selected)
        LogError("[GetPages] number of pages do not match pen");
    return requested != 0 && requested == selected;
}

/** Takes the page out of an item of the pen's answer: an array of a raw page address and strokes. */
PenPageStrokes takeStyloPage(ValueList &item)
{
    if (item.size() < 2)
        throw ZELException();
    return {PageAddress(toNumber<std::uint64_t>(item[0])), std::move(item[1])};
}

} // namespace

PageList listPagesSorted(PspClient2 &psp)
{
    PageListReader answer;
    psp.listPages(answer);
    PageList pages = std::move(answer).pages();
    pages.sort();
    return pages;
}

std::uint32_t totalBytes(const PageList &pages) noexcept
{
    std::uint32_t total = 0;
    for (const PenPage &page : pages)
        total += page.getSize();
    return total;
}

std::uint32_t PageRetrieval::run(std::optional<std::string_view> addresses, PageData &data)
{
    LogInfo("Beginning sync session in pen.");
    if (toNumber<std::uint64_t>(m_psp.beginSyncSession()) == 0) {
        LogWarning("Failed to begin pen sync session. Get pages failed, try again later.");
        return ZEL_ERR_SYNC_BUSY;
    }
    try {
        return retrieve(addresses, data);
    } catch (...) {
        // The session must be ended after every exception, also after one of the host's callback.
        endInFailure();
        return ZEL_ERR_INVALID_ARGUMENT;
    }
}

std::uint32_t PageRetrieval::retrieve(std::optional<std::string_view> addresses, PageData &data)
{
    m_psp.setMmiState(kMmiRetrieving);
    LogInfo("Getting list of pages with strokes from pen.");
    PageList pages = listPagesSorted(m_psp);
    if (addresses) {
        LogInfo("[GetPage] zelGetPages mode");
        pages = selectPages(pages, *addresses);
        if (!selectionMatches(requestedPageCount(*addresses), pages.size())) {
            endInFailure();
            return ZEL_ERR_INVALID_ARGUMENT;
        }
    } else {
        LogInfo("[GetPage] zelGetAllPages mode");
    }

    fetchPhysicalPages(std::exchange(pages, {}));
    fetchStyloPages();
    fetchProperties();
    m_psp.endSyncSession();
    PageData packed = pack();
    m_psp.setMmiState(kMmiSucceeded);
    data = std::move(packed);
    return ZEL_OK;
}

void PageRetrieval::endInFailure()
{
    m_psp.endSyncSession();
    m_psp.setMmiState(kMmiFailed);
}

void PageRetrieval::fetchPhysicalPages(const PageList &pages)
{
    const std::uint32_t total = totalBytes(pages);
    std::uint32_t bytesSoFar = 0;
    reportProgress(bytesSoFar, total);
    LogInfo("Preparing to get strokes from ", pages.size(), " physical pages");
    m_physicalPages.expect(pages.size());
    for (const PenPage &page : pages) {
        fetchStrokes(page.address());
        bytesSoFar +=
            page.getSize(); // the size in the list, not the real one, so that the sum ends at the total
        reportProgress(bytesSoFar, total);
    }
}

void PageRetrieval::fetchStrokes(const PageAddress &address)
{
    const std::uint32_t size = m_physicalPages.fetch(m_psp, address);
    LogInfo("Retreived strokes (", size, " bytes) from page ", address.text().view());
}

void PageRetrieval::fetchStyloPages()
{
    LogInfo("Preparing to get stylo strokes from pen.");
    Value answer = m_psp.getStyloStf();
    std::uint32_t bytes = 0;
    for (Value &item : answer.getArray()) {
        if (item.getType() != ValueType::ValueArray)
            continue;
        m_styloPages.push_back(takeStyloPage(item.getArray()));
        bytes += m_styloPages.back().byteSize();
    }
    LogInfo("Received ", m_styloPages.size(), " stylo pages containing ", static_cast<std::int32_t>(bytes),
            " bytes total.");
}

void PageRetrieval::fetchProperties()
{
    for (const std::uint16_t id : kIdentifyingProperties)
        m_properties.emplace(id, m_psp.getValueProperty(id));
}

PageData PageRetrieval::pack()
{
    PspSyncRequest request;
    request.setPenId(m_penId);
    for (auto &[id, value] : std::exchange(m_properties, {}))
        request.addProperty(id, std::move(value));
    return std::move(m_physicalPages).encode(std::move(request), std::move(m_styloPages));
}

void PageRetrieval::reportProgress(std::uint32_t bytesSoFar, std::uint32_t total) const
{
    if (m_progress != nullptr)
        m_progress(m_penText, bytesSoFar, total);
}

} // namespace zel
