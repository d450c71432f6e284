#include "host/pen_status.h"

#include <array>

#include <fmt/format.h>

#include "host/host_memory.h"
#include "host/page_list.h"
#include "host/pen_clock.h"
#include "ui/bar.h"
#include "ui/printable.h"
#include "ui/units.h"

namespace penctl {

namespace {

constexpr std::size_t kMemoryBar = 20;
constexpr uint16_t kUnknownFigure = 65535;

Reading yesOrNo(uint32_t code, uint8_t flag)
{
    return {code, flag ? "yes" : "no", flag != 0};
}

double share(uint64_t used, uint64_t total)
{
    return total == 0 ? 0 : static_cast<double>(used) / static_cast<double>(total);
}

std::string memoryText(uint64_t used, uint64_t total, bool unicode)
{
    if (used > total)
        return fmt::format("{} in all; the pen reports more free than that", humanBytes(total));
    return fmt::format("{} {:.0f}%, {} of {}", plainBar(share(used, total), kMemoryBar, unicode),
                       share(used, total) * 100, humanBytes(used), humanBytes(total));
}

} // namespace

Reading readProductName(PenHandle *pen)
{
    LibraryText name;
    const uint32_t code = zelGetPenProductName(pen, name.out());
    // So the library answers for a pen without a name.
    if (code == ZEL_ERR_INVALID_ARGUMENT)
        return {ZEL_OK, "(none)", nullptr};
    return {code, printable(name.str()), name.str()};
}

Reading readPageSummary(PenHandle *pen)
{
    PageListing listing;
    const uint32_t code = readPageList(pen, listing);
    return {code,
            fmt::format("{}, {} of strokes", counted(listing.addresses.size(), "page", "pages"),
                        humanBytes(listing.totalBytes)),
            {{"count", listing.addresses.size()}, {"bytes", listing.totalBytes}}};
}

Reading readClockDrift(PenHandle *pen)
{
    uint64_t penTime = 0;
    uint64_t systemTime = 0;
    const uint64_t before = hostMillis();
    const uint32_t code = zelGetTime(pen, &penTime, &systemTime);
    const uint64_t middle = before + (hostMillis() - before) / 2;
    const auto ahead = static_cast<int64_t>(penTime - middle);
    return {code, driftText(ahead), ahead};
}

Reading readBattery(PenHandle *pen)
{
    std::array<uint16_t, 5> figures{};
    const uint32_t code =
        zelGetBatteryStatus(pen, &figures[0], &figures[1], &figures[2], &figures[3], &figures[4]);
    std::string text;
    Json json = Json::array();
    for (const uint16_t figure : figures) {
        const bool known = figure != kUnknownFigure;
        text += fmt::format("{}{}", text.empty() ? "" : "  ", known ? std::to_string(figure) : "-");
        json.push_back(known ? Json(figure) : Json(nullptr));
    }
    return {code, text, json};
}

Reading readMemory(PenHandle *pen, bool unicode)
{
    uint64_t used = 0;
    uint64_t total = 0;
    const uint32_t code = zelGetMemoryStatus(pen, &used, &total);
    return {code, memoryText(used, total, unicode), {{"used", used}, {"total", total}}};
}

Reading readCertificateAuthenticator(PenHandle *pen)
{
    uint8_t flag = 0;
    const uint32_t code = zelHasCertificateAuthenticator(pen, &flag);
    return yesOrNo(code, flag);
}

Reading readSigningKey(PenHandle *pen)
{
    uint8_t flag = 0;
    const uint32_t code = zelHasSigningKey(pen, &flag);
    return yesOrNo(code, flag);
}

Reading readEncryptedData(PenHandle *pen)
{
    uint8_t flag = 0;
    const uint32_t code = zelHasEncryptedData(pen, &flag);
    return yesOrNo(code, flag);
}

} // namespace penctl
