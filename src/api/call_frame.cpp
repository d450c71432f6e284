#include "api/call_frame.h"

#include "dfu/dfu_listener.h"
#include "session/manager.h"
#include "session/pen_handle.h"
#include "sys/exceptions.h"
#include "sys/log.h"
#include "sys/secure_wipe.h"
#include "sys/thread.h"

#include <algorithm>
#include <string_view>

namespace zel {

namespace {

bool exists(Needs needs) noexcept
{
    switch (needs) {
    case Needs::Nothing:
        return true;
    case Needs::Manager:
        return manager() != nullptr;
    case Needs::DfuManager:
        return dfuListener() != nullptr;
    case Needs::AnyManager:
        return manager() != nullptr || dfuListener() != nullptr;
    }
    return false;
}

bool allGiven(std::initializer_list<bool> given) noexcept
{
    return std::ranges::find(given, false) == given.end();
}

/** Logs the text, with "%s" replaced by the reason. */
void logWithReason(std::string_view text, const char *reason)
{
    constexpr std::string_view kReason = "%s";
    if (const std::size_t at = text.find(kReason); at != std::string_view::npos)
        LogError(text.substr(0, at), reason, text.substr(at + kReason.size()));
    else
        LogError(text);
}

} // namespace

std::uint32_t CallFrame::run(const PenHandle *pen, std::initializer_list<bool> given, CallBody body) const
{
    const HeldCancellation untilTheEnd;
    if (!exists(needs))
        return ZEL_ERR_NOT_INITIALIZED;
    if (pen == nullptr || !allGiven(given))
        return ZEL_ERR_INVALID_ARGUMENT;
    const std::uint32_t code = guard(pen, body);
    if (handlesSecrets)
        wipeStackBelow();
    return code;
}

std::uint32_t CallFrame::run(std::initializer_list<bool> given, CallBody body) const
{
    const HeldCancellation untilTheEnd;
    if (!exists(needs))
        return ZEL_ERR_NOT_INITIALIZED;
    if (!allGiven(given))
        return ZEL_ERR_INVALID_ARGUMENT;
    return guard(nullptr, body);
}

/** Lets no exception pass. */
std::uint32_t CallFrame::guard(const PenHandle *pen, CallBody body) const noexcept
{
    try {
        return translate(pen, body);
    } catch (...) {
        return unexpected();
    }
}

/** Turns exceptions into result codes as the member catches says. All other exceptions leave this function,
 *  also those that the handlers throw. */
std::uint32_t CallFrame::translate(const PenHandle *pen, CallBody body) const
{
    try {
        return enter(pen, body);
    } catch (const PspConnectionException &lost) {
        if (catches < Catches::Connection)
            throw;
        logWithReason(connectionText.view(), lost.what());
        return ZEL_ERR_COMMUNICATION;
    } catch (const PspPenIsLockedException &) {
        if (catches < Catches::LockedPen)
            throw;
        LogError(lockedText.view());
        return ZEL_ERR_PEN_LOCKED;
    } catch (const PspUnknownInstructionException &) {
        if (catches < Catches::UnknownInstruction)
            throw;
        LogError(unknownText.view());
        return ZEL_ERR_NOT_SUPPORTED;
    }
}

std::uint32_t CallFrame::enter(const PenHandle *pen, CallBody body) const
{
    if (!entryMark.view().empty())
        LogDebug(entryMark.view());
    if (pen != nullptr && static_cast<std::int16_t>(pen->softwareVersion) < minVersion) {
        LogDebug(notSupportedText.view());
        return ZEL_ERR_NOT_SUPPORTED;
    }
    return body();
}

std::uint32_t CallFrame::unexpected() const noexcept
{
    try {
        LogError(unexpectedText.view());
    } catch (...) { // only a test's log observer can throw here; the result code is still returned
    }
    return ZEL_ERR_UNEXPECTED;
}

} // namespace zel
