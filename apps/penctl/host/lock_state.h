#pragma once

#include <zel/zel.h>

#include "host/reading.h"

namespace penctl {

/** "locked" or "not locked" */
Reading readLocked(PenHandle *pen);

Reading readPasswordHint(PenHandle *pen);

} // namespace penctl
