#pragma once

#include "log.h"

#include <chrono>
#include <deque>

namespace pensim {

/** The last lines of the log as JSON, numbered from 1, for readers that come and go. What it holds is
 * bounded: the oldest lines go first. Used on the service's thread. */
class Journal
{
public:
    void add(const LogEntry &entry);

    /** The number of the oldest line that is still there, and of the one to come. */
    std::uint64_t first() const { return m_next - m_lines.size(); }
    std::uint64_t next() const { return m_next; }
    const std::string &line(std::uint64_t number) const { return m_lines.at(number - first()); }

private:
    static constexpr std::size_t kMostLines = 5000;
    static constexpr std::size_t kMostBytes = 8 << 20;

    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::deque<std::string> m_lines;
    std::size_t m_bytes = 0;
    std::uint64_t m_next = 1;
};

} // namespace pensim
