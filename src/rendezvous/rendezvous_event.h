#pragma once

#include "pens/pen_id.h"
#include "pens/pen_psp_versions.h"

#include <cstdint>
#include <string>

namespace zel {

enum class RendezvousCommand : std::int32_t {
    Connect = 0,
    Disconnect = 1,
    Unknown = 2,
    ServerGone = 3,
    SocketShutDown = 4, ///< understood, never produced
};

/** What one pen message says; what it leaves out has the value given here. */
struct RendezvousEvent {
    PenId penId{0};
    std::string penBrand;
    /** The low 16 bits of the announced number. */
    std::uint16_t penSwVersion = 0;
    std::uint16_t servicePort = 0;
    PenPspVersions pspVersions;
    RendezvousCommand command = RendezvousCommand::Unknown;
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
    bool dfu = false;
};

} // namespace zel
