#include "host/lock_state.h"

#include "host/host_memory.h"
#include "ui/printable.h"

namespace penctl {

Reading readLocked(PenHandle *pen)
{
    uint8_t locked = 1;
    const uint32_t code = zelGetPenLockedStatus(pen, &locked);
    return {code, locked ? "locked" : "not locked", locked != 0};
}

Reading readPasswordHint(PenHandle *pen)
{
    LibraryText hint;
    const uint32_t code = zelGetPasswordHint(pen, hint.out());
    return {code, printable(hint.str()), hint.str()};
}

} // namespace penctl
