#include "api/call_frame.h"
#include "api/copy_out.h"
#include "pages/page_retrieval.h"
#include "session/pen_handle.h"

#include "zel/zel.h"

#include <optional>
#include <string_view>

using namespace zel;

namespace {

/** Without addresses, fetches every page. A pen without a client gives ZEL_ERR_INVALID_ARGUMENT and no log
 *  text. */
uint32_t getPages(PenHandle *pen, std::optional<const char *> addresses, ProgressCallback progress,
                  uint8_t **data, uint32_t *length)
{
    static constexpr CallFrame frame{.logName = "GetPages",
                                     .entryMark = "[GetPage]",
                                     .connectionText = "[GetPages] failed, pen not connected"};
    const bool hasClient = pen != nullptr && pen->client != nullptr;
    return frame.run(
        pen, {cleared(data), preset(length, 0u), hasClient, !addresses || required(*addresses)}, [&] {
            PageData pages;
            const std::uint32_t code =
                PageRetrieval(pen->psp(), pen->penId, pen->serial.c_str(), progress).run(addresses, pages);
            *data = pages.block.release();
            *length = pages.length;
            return code;
        });
}

} // namespace

uint32_t zelGetPageList(PenHandle *pen, char **text, uint32_t *total)
{
    static constexpr CallFrame frame{.logName = "zelGetPageList", .catches = Catches::Nothing};
    return frame.run(pen, {cleared(text), preset(total, 0u)}, [&] {
        const PageList pages = listPagesSorted(pen->psp());
        CopyOutString(pages.toString(), text);
        *total = totalBytes(pages);
        return ZEL_OK;
    });
}

uint32_t zelGetPages(PenHandle *pen, const char *addresses, ProgressCallback progress, uint8_t **data,
                     uint32_t *length)
{
    return getPages(pen, addresses, progress, data, length);
}

uint32_t zelGetAllPages(PenHandle *pen, ProgressCallback progress, uint8_t **data, uint32_t *length)
{
    return getPages(pen, std::nullopt, progress, data, length);
}

uint32_t zelRemovePage(PenHandle *pen, const char *address)
{
    static constexpr CallFrame frame{.logName = "zelRemovePage", .catches = Catches::Nothing};
    return frame.run(pen, {required(address)}, [&] {
        pen->psp().removePage(PageAddress(address), PspClient2::kStrokeFormat, PspClient2::kNoLimit);
        return ZEL_OK;
    });
}

uint32_t zelRemoveAllStrokes(PenHandle *pen)
{
    // The text names the other export. It is fixed.
    static constexpr CallFrame frame{.logName = "zelRemoveAllStrokes",
                                     .catches = Catches::Nothing,
                                     .unexpectedText = "zelRemovePage caught an undefined exception."};
    return frame.run(pen, {}, [&] {
        pen->psp().clearStrokes(0);
        return ZEL_OK;
    });
}
