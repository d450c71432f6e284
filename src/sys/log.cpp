#include "sys/log.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <memory>

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

std::string FormatLogText(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);

    // The formatter tells the length that a text needs, so the first multiple of the growth
    // step that fits is known after one attempt: long texts stay linear.
    char first[kGrowthStep];
    const int length = std::vsnprintf(first, sizeof first, format, arguments);
    va_end(arguments);

    std::string text;
    if (length < 0) {
        text = std::string("Invalid format string: '") + format + "'";
    } else if (static_cast<std::size_t>(length) < sizeof first) {
        text.assign(first, static_cast<std::size_t>(length));
    } else {
        const std::size_t size = (static_cast<std::size_t>(length) / kGrowthStep + 1) * kGrowthStep;
        const auto buffer = std::make_unique_for_overwrite<char[]>(size);
        std::vsnprintf(buffer.get(), size, format, again);
        text.assign(buffer.get(), static_cast<std::size_t>(length));
    }
    va_end(again);
    return text;
}

} // namespace zel
