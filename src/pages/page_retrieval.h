#pragma once

#include "pages/fetched_pages.h"
#include "pages/page_list.h"
#include "pages/page_strokes.h"
#include "protocol/values/value.h"
#include "psp/psp_client2.h"

#include "zel/zel.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string_view>

namespace zel {

/** The pages that the pen has strokes for, in ascending order of their addresses. */
PageList listPagesSorted(PspClient2 &psp);
/** The sum of the pages' sizes as the pen tells them, cut to 32 bits. */
std::uint32_t totalBytes(const PageList &pages) noexcept;

/** Fetches a pen's pages: begins a sync session, fetches strokes, stylo pages and some properties, ends the
 *  session, and packs everything into one request. A session that was begun is always ended. Everything runs
 *  on the caller's thread, the progress callback too.
 *
 *      PageData data;
 *      const std::uint32_t code = PageRetrieval(psp, penId, serial, progress).run(std::nullopt, data);
 */
class PageRetrieval
{
public:
    /** The text is passed to the progress callback, which may be null. */
    PageRetrieval(PspClient2 &psp, std::uint64_t penId, const char *penText, ProgressCallback progress)
        : m_psp(psp), m_penId(penId), m_penText(penText), m_progress(progress)
    {
    }

    /** Returns a result code. Writes the data only if that is ZEL_OK. Without addresses, fetches every page.
     *  Only beginning and ending the session throw exceptions; every other failure becomes a result code. */
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
    FetchedPages m_physicalPages;
    StrokesList m_styloPages;
    std::map<std::uint16_t, Value> m_properties;
};

} // namespace zel
