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
    SocketShutDown = 4, ///< handled, but never produced
};

/** The contents of one message about a pen. A member that the message does not mention keeps the value below.
 */
struct RendezvousEvent {
    PenId penId{0};
    std::string penBrand;
    /** The low 16 bits of the number in the message. */
    std::uint16_t penSwVersion = 0;
    std::uint16_t servicePort = 0;
    PenPspVersions pspVersions;
    RendezvousCommand command = RendezvousCommand::Unknown;
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
    bool dfu = false;
};

} // namespace zel
