#pragma once

#include <string>
#include <string_view>

namespace zel {

enum class LogLevel { Error, Warning, Info, Debug };

/** Sees every text handed to a sink. Null in production: a host never gets any log output. */
using LogObserver = void (*)(LogLevel level, std::string_view text);

/** Sets the observer (null removes it); for tests only. Any thread; takes effect at once. */
void setLogObserver(LogObserver observer) noexcept;

// The four sinks discard the text. It has been composed all the same, so that a fault in
// composing it surfaces whether anybody listens or not.
void LogError(std::string_view text);
void LogWarning(std::string_view text);
void LogInfo(std::string_view text);
void LogDebug(std::string_view text);

/** Composes a printf-style text. A format that the C library rejects gives
 *  "Invalid format string: '" + format + "'". */
std::string FormatLogText(const char *format, ...)
#if defined(__MINGW32__)
    __attribute__((format(gnu_printf, 1, 2)));
#else
    __attribute__((format(printf, 1, 2)));
#endif

} // namespace zel
