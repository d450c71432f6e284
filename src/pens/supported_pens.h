#pragma once

#include "pens/pen_psp_versions.h"

#include <cstdint>

namespace zel {

/** Whether the library supports a pen that announces these protocol versions and this software version
 *  (compared as a signed number). Logs which kind of pen it is. Any thread. */
bool IsSupportedPen(const PenPspVersions &versions, std::uint16_t softwareVersion);

} // namespace zel
