#include "sys/log.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>

namespace zel {

namespace {

constexpr std::size_t kGrowthStep = 1024;

std::atomic<LogObserver> s_observer{nullptr};

void handOver(LogLevel level, std::string_view text)
{
    if (const LogObserver observer = s_observer.load(std::memory_order_acquire))
        observer(level, text);
}

} // namespace

void setLogObserver(LogObserver observer) noexcept
{
    s_observer.store(observer, std::memory_order_release);
}

void LogError(std::string_view text)
{
    handOver(LogLevel::Error, text);
}

void LogWarning(std::string_view text)
{
    handOver(LogLevel::Warning, text);
}

void LogInfo(std::string_view text)
{
    handOver(LogLevel::Info, text);
}

void LogDebug(std::string_view text)
{
    handOver(LogLevel::Debug, text);
}

LogText::LogText(LogLevel level) noexcept
    : m_level(level),
      m_observer(s_observer.load(std::memory_order_acquire)),
      m_window(m_observer != nullptr ? &m_whole : nullptr)
{
}

void LogText::send()
{
    if (m_observer == nullptr)
        return;
    m_window.flush();
    m_observer(m_level, m_whole);
}

// va_end() must be called before anything that can throw.
std::string FormatLogText(const char *format, ...)
{
    // vsnprintf() returns the length that the text needs, so a second call always has enough room.
    char first[kGrowthStep];
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(first, sizeof first, format, arguments);
    va_end(arguments);
    if (length < 0)
        return std::string("Invalid format string: '") + format + "'";
    if (static_cast<std::size_t>(length) < sizeof first)
        return std::string(first, static_cast<std::size_t>(length));

    std::string text((static_cast<std::size_t>(length) / kGrowthStep + 1) * kGrowthStep, '\0');
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    text.resize(static_cast<std::size_t>(length));
    return text;
}

} // namespace zel
