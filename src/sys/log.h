#pragma once

#include "sys/text_window.h"

#include <string>
#include <string_view>

namespace zel {

enum class LogLevel { Error, Warning, Info, Debug };

/** Receives every log text. Only tests set one: a host never gets any log output. */
using LogObserver = void (*)(LogLevel level, std::string_view text);

/** For tests: sets the observer; null removes it. Any thread; takes effect at once. */
void setLogObserver(LogObserver observer) noexcept;

/** A log text that is composed of several pieces. Without an observer nobody keeps it, so composing allocates
 *  nothing and cannot fail. An observer gets the whole text. Most code uses LogError() and the like instead;
 *  this class is for texts that are composed in steps:
 *
 *      LogText text(LogLevel::Debug);
 *      text.window() << "received " << count;
 *      text.send();
 */
class LogText
{
public:
    explicit LogText(LogLevel level) noexcept;

    TextWindow &window() noexcept { return m_window; }
    void send();

private:
    LogLevel m_level;
    LogObserver m_observer;
    std::string m_whole; // what the observer gets
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

// Each of these composes a log text and discards it, unless an observer is set. A text that does not vary is
// passed whole, one that varies in pieces: LogInfo("Pen connected ", port).
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

/** Composes the text of an exception, in the manner of printf. When the C library rejects the format, the
 *  result is "Invalid format string: '" + format + "'". */
std::string FormatLogText(const char *format, ...)
#if defined(__MINGW32__)
    __attribute__((format(gnu_printf, 1, 2)));
#else
    __attribute__((format(printf, 1, 2)));
#endif

} // namespace zel
