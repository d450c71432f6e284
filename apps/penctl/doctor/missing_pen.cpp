#include "doctor/missing_pen.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>

#include "doctor/announcements.h"

namespace penctl {

namespace {

constexpr Limit kLook{500};

bool isSame(const std::string &left, const std::string &right)
{
    return std::ranges::equal(
        left, right, {}, [](unsigned char c) { return std::toupper(c); },
        [](unsigned char c) { return std::toupper(c); });
}

} // namespace

Whereabouts lookForPen(const std::string &serial)
{
    using State = PenListing::State;
    const PenListing listing = listPens(PenMode::FirmwareUpgrade, kLook);
    if (listing.state == State::Refused)
        return {false, fmt::format("No pen service listens at port {}; `penctl doctor` tells what to do.",
                                   kRendezvousPort)};
    if (listing.state != State::Whole)
        return {false, fmt::format("At port {} nothing answers as a pen service; `penctl doctor` tells more.",
                                   kRendezvousPort)};
    for (const Announcement &pen : listing.announcements)
        if (pen.isOfPen() && pen.firmwareUpgrade && (serial.empty() || isSame(serial, pen.name())))
            return {true,
                    fmt::format("Pen {} is in firmware-upgrade mode: see `penctl dfu list`.", pen.name())};
    return {true, "The pen service runs; `penctl doctor` tells why a pen may be missing."};
}

} // namespace penctl
