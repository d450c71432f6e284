#include "host/lock_state.h"

#include "host/host_memory.h"
#include "host/result.h"
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
    return {code, hint.str().empty() ? "(none)" : printable(hint.str()), hint.str()};
}

void checkPageRequest(PenHandle *pen, uint32_t code, std::string_view what)
{
    uint8_t locked = 0;
    if (code == ZEL_ERR_UNEXPECTED && zelGetPenLockedStatus(pen, &locked) == ZEL_OK && locked)
        throw Failure(ZEL_ERR_UNEXPECTED, failureText(code, what) + "; it is locked");
    check(code, what);
}

} // namespace penctl
