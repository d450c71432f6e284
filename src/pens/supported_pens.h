#pragma once

#include "pens/pen_psp_versions.h"

#include <cstdint>

namespace zel {

/** Whether the library works with a pen that announces these protocol versions and this software version
 *  (compared as a signed number); logs which kind of pen it is. Any thread. */
bool IsSupportedPen(const PenPspVersions &versions, std::uint16_t softwareVersion);

} // namespace zel
