#pragma once

#include <cstdint>

namespace zel {

/** Whether a pen that announced these USB ids is accepted. (0, 0), from a pen that announced
 *  neither, is. */
bool IsSupportedUsbDevice(std::uint16_t vendorId, std::uint16_t productId) noexcept;

} // namespace zel
