#include "support/log_capture.h"

#include <algorithm>
#include <mutex>

namespace {

std::mutex s_lock;
std::vector<LogCapture::Entry> s_entries;

#ifndef ZEL_TESTS_WITHOUT_LOG
bool s_capturing = false;

void record(zel::LogLevel level, std::string_view text)
{
    const std::lock_guard guard(s_lock);
    if (s_capturing)
        s_entries.emplace_back(level, text);
}

void capture(bool on)
{
    const std::lock_guard guard(s_lock);
    s_entries.clear();
    s_capturing = on;
    zel::setLogObserver(on ? record : nullptr);
}
#else
void capture(bool) {}
#endif

} // namespace

LogCapture::LogCapture()
{
    capture(true);
}

LogCapture::~LogCapture()
{
    capture(false);
}

bool LogCapture::available() const
{
#ifndef ZEL_TESTS_WITHOUT_LOG
    return true;
#else
    return false;
#endif
}

std::vector<LogCapture::Entry> LogCapture::entries() const
{
    const std::lock_guard guard(s_lock);
    return s_entries;
}

bool LogCapture::contains(std::string_view text) const
{
    return count(text) > 0;
}

bool LogCapture::contains(zel::LogLevel level, std::string_view text) const
{
    const std::lock_guard guard(s_lock);
    return std::find(s_entries.begin(), s_entries.end(), Entry(level, text)) != s_entries.end();
}

std::size_t LogCapture::count(std::string_view text) const
{
    const std::lock_guard guard(s_lock);
    return static_cast<std::size_t>(std::count_if(s_entries.begin(), s_entries.end(),
                                                  [&](const Entry &entry) { return entry.second == text; }));
}

void LogCapture::clear()
{
    const std::lock_guard guard(s_lock);
    s_entries.clear();
}
