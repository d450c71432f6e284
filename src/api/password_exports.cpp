#include "api/call_frame.h"
#include "api/copy_out.h"
#include "protocol/values/value_convert.h"
#include "security/password_hash.h"
#include "session/pen_handle.h"
#include "sys/log.h"
#include "sys/secure_wipe.h"

#include <cstring>

using namespace zel;

namespace {

constexpr std::size_t kLongestNewPassword = 31;
constexpr std::size_t kLongestHint = 255;

/** Whether a pen accepts a password of this length. Logs the length if not. */
bool isNewPassword(const char *password)
{
    const std::size_t length = std::strlen(password);
    if (length >= 1 && length <= kLongestNewPassword)
        return true;
    LogError(
        "[zelSetPasswordData] failed. Password length is either too short or too long. Password length: ",
        static_cast<int>(length));
    return false;
}

bool isHint(const char *hint)
{
    const std::size_t length = std::strlen(hint);
    if (length <= kLongestHint)
        return true;
    LogError("[ComPen::SetPasswordHint] failed. Password hint length is either too short or too long. "
             "Password text length: ",
             static_cast<int>(length));
    return false;
}

std::uint32_t store(PspClient2 &psp, const PasswordDigest &current, const std::string &newPassword,
                    const std::string &hint)
{
    const Value answer = psp.setPassword(current, newPassword);
    // Set the hint before looking at the answer: a pen that refuses the password still gets the hint.
    psp.setPasswordHint(hint);
    return toNumber<std::uint64_t>(answer) == 1 ? ZEL_OK : ZEL_ERR_INVALID_ARGUMENT;
}

} // namespace

uint32_t zelGetPenLockedStatus(PenHandle *pen, uint8_t *locked)
{
    static constexpr CallFrame frame{.logName = "zelGetPenLockedStatus",
                                     .connectionText = "[TarselPen::isLocked] failed",
                                     .lockedText = "[TarselPen::isLocked] failed, pen is locked"};
    // After a failure the output says "locked".
    return frame.run(pen, {preset<std::uint8_t>(locked, 1)}, [&] {
        *locked = toNumber<std::uint8_t>(pen->psp().penLocked());
        return ZEL_OK;
    });
}

uint32_t zelUnlockPen(PenHandle *pen, const char *password)
{
    // The name in the log texts is spelled differently; it is fixed. A pen that answers "locked" gives
    // ZEL_ERR_UNEXPECTED here.
    static constexpr CallFrame frame{
        .logName = "zelUnLockPen", .catches = Catches::Connection, .handlesSecrets = true};
    return frame.run(pen, {required(password)}, [&] {
        LogDebug("[zelUnLockPen] - hashPassword");
        const PasswordDigest digest = hashPassword(password, pen->penId);
        LogDebug("[zelUnLockPen] - unlock");
        const Value answer = pen->psp().unlock(digest);
        return toNumber<std::uint64_t>(answer) != 0 ? ZEL_OK : ZEL_ERR_INVALID_ARGUMENT;
    });
}

uint32_t zelSetPasswordData(PenHandle *pen, const char *current, const char *newPassword, const char *hint)
{
    static constexpr CallFrame frame{.logName = "zelSetPasswordData", .handlesSecrets = true};
    return frame.run(pen, {required(current)}, [&] {
        const PasswordDigest digest = hashPassword(current, pen->penId);
        if (newPassword == nullptr || hint == nullptr || !isNewPassword(newPassword) || !isHint(hint))
            return ZEL_ERR_INVALID_ARGUMENT;
        const WipedText password(newPassword);
        return store(pen->psp(), digest, password.get(), hint);
    });
}

uint32_t zelRemovePasswordData(PenHandle *pen, const char *current)
{
    static constexpr CallFrame frame{.logName = "zelRemovePasswordData", .handlesSecrets = true};
    return frame.run(pen, {required(current)},
                     [&] { return store(pen->psp(), hashPassword(current, pen->penId), "", ""); });
}

uint32_t zelGetPasswordHint(PenHandle *pen, char **hint)
{
    static constexpr CallFrame frame{.logName = "zelGetPasswordHint"};
    return frame.run(pen, {cleared(hint)}, [&] {
        const Value answer = pen->psp().getPasswordHint();
        CopyOutString(toText(answer), hint);
        return ZEL_OK;
    });
}
