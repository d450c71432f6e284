#pragma once

#include <cstdint>

namespace zel {

/** Whether the host may connect to a pen that announced these USB ids. A pen that announced none (0, 0) is
 *  accepted. */
bool IsSupportedUsbDevice(std::uint16_t vendorId, std::uint16_t productId) noexcept;

} // namespace zel
