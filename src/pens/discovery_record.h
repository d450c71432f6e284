#pragma once

#include "zel/zel.h"

#include <cstdint>
#include <string>

namespace zel {

/** What a callback receives for one pen that arrived or left. The host owns it from the callback on and
 *  releases it with zelFreeDiscoveryHandle. The host sees only the two members of the base class, at fixed
 *  offsets. */
struct DiscoveryRecord : ::DiscoveryHandle {
    std::string serial;
    std::string brand;
    /** The version of the pen's software. Compare it as a signed number. */
    std::uint16_t swVersion = 0;
    /** In network byte order. In the record of a departure, address and port are 0. */
    std::uint32_t serviceAddress = 0;
    std::uint16_t servicePort = 0;
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
    std::uint8_t dfu = 0;
};

inline const DiscoveryRecord &recordOf(const ::DiscoveryHandle &handle) noexcept
{
    return static_cast<const DiscoveryRecord &>(handle);
}

} // namespace zel
