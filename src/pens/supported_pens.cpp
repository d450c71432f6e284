#include "pens/supported_pens.h"

#include "sys/log.h"

namespace zel {

namespace {

constexpr std::int16_t kSoftwareOfR44Pen = 0x0502;
constexpr std::int16_t kSoftwareOfR45Pen = 0x0503;
constexpr std::int16_t kSoftwareOfR10DfuPen = 0x0100;

/** Which kind of pen speaks version 4.0 with this software version; null for newer software, which is not
 *  supported. */
const char *kindOfPsp40Pen(std::int16_t software)
{
    if (software < kSoftwareOfR44Pen)
        return "Pen supports PSP version 4.0. R41Pen";
    if (software == kSoftwareOfR44Pen)
        return "Pen supports PSP version 4.0. R44Pen";
    return software == kSoftwareOfR45Pen ? "Pen supports PSP version 4.0. R45Pen" : nullptr;
}

const char *kindOfPen(const PenPspVersions &versions, std::int16_t software)
{
    if (versions.contains(PenPspVersions::kPsp41))
        return "Pen supports PSP version 4.1. R42Pen";
    if (versions.contains(PenPspVersions::kPsp40))
        return kindOfPsp40Pen(software);
    if (versions.contains(PenPspVersions::kDfuPsp10) && software == kSoftwareOfR10DfuPen)
        return "DFU Pen supports PSP version 1.0. R10DFUPen";
    return nullptr;
}

} // namespace

bool IsSupportedPen(const PenPspVersions &versions, std::uint16_t softwareVersion)
{
    const char *const kind = kindOfPen(versions, static_cast<std::int16_t>(softwareVersion));
    if (kind != nullptr)
        LogInfo(kind);
    return kind != nullptr;
}

} // namespace zel
