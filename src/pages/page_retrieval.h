#pragma once

#include "pages/page_list.h"
#include "pages/page_strokes.h"
#include "pages/psp_sync_request.h"
#include "protocol/values/value.h"
#include "psp/psp_client2.h"

#include "zel/zel.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string_view>

namespace zel {

/** The page data that a retrieval made; the block goes to the host. */
struct PageData {
    std::unique_ptr<std::uint8_t[]> block;
    std::uint32_t length = 0;
};

/** The pages that a pen holds, ascending by address. */
PageList listPagesSorted(PspClient2 &psp);
/** Of the strokes that the pen says it holds, cut to 32 bits. */
std::uint32_t totalBytes(const PageList &pages) noexcept;

/** One retrieval of a pen's pages: opens the pen's sync session, fetches strokes, stylo pages and
 *  identifying properties, ends the session and packs everything into one request. Every path that
 *  opened the session ends it. Runs, progress callbacks included, on the caller's thread. */
class PageRetrieval
{
public:
    /** The pen's text is what the progress callback (which may be null) is given. */
    PageRetrieval(PspClient2 &psp, std::uint64_t penId, const char *penText, ProgressCallback progress)
        : m_psp(psp), m_penId(penId), m_penText(penText), m_progress(progress)
    {
    }

    /** A result code; the data is untouched unless that is ZEL_OK. Without addresses every page is
     *  fetched. Exceptions leave only from opening and from ending the session. */
    std::uint32_t run(std::optional<std::string_view> addresses, PageData &data);

private:
    std::uint32_t retrieve(std::optional<std::string_view> addresses, PageData &data);
    void endInFailure();
    void fetchPhysicalPages(const PageList &pages);
    void fetchStrokes(const PageAddress &address);
    void fetchStyloPages();
    void fetchProperties();
    PageData pack();
    void reportProgress(std::uint32_t bytesSoFar, std::uint32_t total) const;

    PspClient2 &m_psp;
    std::uint64_t m_penId;
    const char *m_penText;
    ProgressCallback m_progress;
    StrokesList m_physicalPages;
    StrokesList m_styloPages;
    std::map<std::uint16_t, std::unique_ptr<Value>> m_properties;
};

} // namespace zel
