#include "api/call_frame.h"
#include "protocol/value_convert.h"
#include "session/pen_handle.h"

#include "zel/zel.h"

using namespace zel;

uint32_t zelGetPenLockedStatus(PenHandle *pen, uint8_t *locked)
{
    static constexpr CallFrame frame{.logName = "zelGetPenLockedStatus",
                                     .connectionText = "[TarselPen::isLocked] failed",
                                     .lockedText = "[TarselPen::isLocked] failed, pen is locked"};
    // A call that fails leaves "locked".
    return frame.run(pen, {preset<std::uint8_t>(locked, 1)}, [&] {
        *locked = toNumber<std::uint8_t>(pen->psp().penLocked().get());
        return ZEL_OK;
    });
}
