#pragma once

#include "sys/text_window.h"

#include <string>
#include <string_view>

namespace zel {

enum class LogLevel { Error, Warning, Info, Debug };

/** Sees every text handed to a sink. Null in production: a host never gets any log output. */
using LogObserver = void (*)(LogLevel level, std::string_view text);

/** Sets the observer (null removes it); for tests only. Any thread; takes effect at once. */
void setLogObserver(LogObserver observer) noexcept;

/** A log text of several pieces. Nobody keeps log texts, so composing one allocates nothing and cannot
 *  fail; an observer gets it whole. */
class LogText
{
public:
    explicit LogText(LogLevel level) noexcept;

    TextWindow &window() noexcept { return m_window; }
    void send();

private:
    LogLevel m_level;
    LogObserver m_observer;
    std::string m_whole; // for the observer
    TextWindow m_window;
};

/** Each piece is a text, a character or a number. */
template <class... Pieces>
void logPieces(LogLevel level, const Pieces &...pieces)
{
    LogText text(level);
    (text.window() << ... << pieces);
    text.send();
}

// The four sinks discard the text, which has been composed all the same. A text that varies is given in
// pieces.
void LogError(std::string_view text);
void LogWarning(std::string_view text);
void LogInfo(std::string_view text);
void LogDebug(std::string_view text);

template <class... Pieces>
requires(sizeof...(Pieces) > 1) void LogError(const Pieces &...pieces)
{
    logPieces(LogLevel::Error, pieces...);
}

template <class... Pieces>
requires(sizeof...(Pieces) > 1) void LogInfo(const Pieces &...pieces)
{
    logPieces(LogLevel::Info, pieces...);
}

template <class... Pieces>
requires(sizeof...(Pieces) > 1) void LogDebug(const Pieces &...pieces)
{
    logPieces(LogLevel::Debug, pieces...);
}

/** Composes a printf-style text, for exceptions. A format that the C library rejects gives
 *  "Invalid format string: '" + format + "'". */
std::string FormatLogText(const char *format, ...)
#if defined(__MINGW32__)
    __attribute__((format(gnu_printf, 1, 2)));
#else
    __attribute__((format(printf, 1, 2)));
#endif

} // namespace zel
