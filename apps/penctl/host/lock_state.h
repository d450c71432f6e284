#pragma once

#include <string_view>

#include <zel/zel.h>

#include "host/reading.h"

namespace penctl {

/** "locked" or "not locked" */
Reading readLocked(PenHandle *pen);

/** "(none)" for a pen without one. */
Reading readPasswordHint(PenHandle *pen);

/** As check(), for the exports that answer "unexpected" where a locked pen refuses: asks the pen and says so.
 */
void checkPageRequest(PenHandle *pen, uint32_t code, std::string_view what);

} // namespace penctl
