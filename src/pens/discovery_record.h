#pragma once

#include "zel/zel.h"

#include <cstdint>
#include <string>

namespace zel {

/** What the host gets for one arrival or departure of a pen; it owns the record from the callback on
 *  and releases it with zelFreeDiscoveryHandle. The host sees the base's two fields at fixed
 *  offsets, the rest is the library's. */
struct DiscoveryRecord : ::DiscoveryHandle {
    std::string serial;
    std::string brand;
    /** Compared as a signed number. */
    std::uint16_t swVersion = 0;
    /** In network byte order; 0 in a departure, as is the port. */
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
