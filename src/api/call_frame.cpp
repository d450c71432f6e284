#include "api/call_frame.h"

#include "dfu/dfu_listener.h"
#include "session/manager.h"
#include "session/pen_handle.h"
#include "sys/exceptions.h"
#include "sys/log.h"
#include "sys/secure_wipe.h"
#include "sys/thread.h"

#include <algorithm>
#include <string>
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

/** An export's own text, or the one that its log name makes. */
std::string textOr(const char *own, std::string_view before, const char *logName, std::string_view after)
{
    if (own != nullptr)
        return own;
    return std::string(before).append(logName).append(after);
}

std::string withReason(std::string text, const char *reason)
{
    constexpr std::string_view kReason = "%s";
    if (const std::size_t at = text.find(kReason); at != std::string::npos)
        text.replace(at, kReason.size(), reason);
    return text;
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
        wipeTraces();
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

/** The one place where exceptions end. */
std::uint32_t CallFrame::guard(const PenHandle *pen, CallBody body) const noexcept
{
    try {
        return translate(pen, body);
    } catch (...) {
        return unexpected();
    }
}

/** Exceptions that the export does not tell apart, and those of the handlers, pass on. */
std::uint32_t CallFrame::translate(const PenHandle *pen, CallBody body) const
{
    try {
        return enter(pen, body);
    } catch (const PspConnectionException &lost) {
        if (catches < Catches::Connection)
            throw;
        LogError(withReason(textOr(connectionText, "[", logName, "] failed"), lost.what()));
        return ZEL_ERR_COMMUNICATION;
    } catch (const PspPenIsLockedException &) {
        if (catches < Catches::LockedPen)
            throw;
        LogError(textOr(lockedText, "[", logName, "] failed, pen is locked"));
        return ZEL_ERR_PEN_LOCKED;
    } catch (const PspUnknownInstructionException &) {
        if (catches < Catches::UnknownInstruction)
            throw;
        LogError(textOr(unknownText, "[", logName, "] failed, pen does not support the operation."));
        return ZEL_ERR_NOT_SUPPORTED;
    }
}

std::uint32_t CallFrame::enter(const PenHandle *pen, CallBody body) const
{
    if (const std::string mark = textOr(entryMark, "[", logName, "]"); !mark.empty())
        LogDebug(mark);
    if (pen != nullptr && static_cast<std::int16_t>(pen->softwareVersion) < minVersion) {
        LogDebug(textOr(nullptr, "[", logName, "] not supported by pen"));
        return ZEL_ERR_NOT_SUPPORTED;
    }
    return body();
}

std::uint32_t CallFrame::unexpected() const noexcept
{
    try {
        LogError(textOr(unexpectedText, "", logName, " caught an undefined exception."));
    } catch (...) { // without memory for the text the code still tells
    }
    return ZEL_ERR_UNEXPECTED;
}

} // namespace zel
