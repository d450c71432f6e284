#pragma once

#include "sys/log.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

/** Collects every log text that the library composes, from any thread, as long as it lives. One at a
 *  time. Where the tests are linked with the shared library, whose sinks no test can reach, it
 *  collects nothing: ask available() before expecting a text. */
class LogCapture
{
public:
    using Entry = std::pair<zel::LogLevel, std::string>;

    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    bool available() const;
    std::vector<Entry> entries() const;
    /** Whether one of the texts is exactly this one. */
    bool contains(std::string_view text) const;
    bool contains(zel::LogLevel level, std::string_view text) const;
    std::size_t count(std::string_view text) const;
    void clear();
};
