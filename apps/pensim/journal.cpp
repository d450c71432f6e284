#include "journal.h"

#include <fmt/format.h>

namespace pensim {

void Journal::add(const LogEntry &entry)
{
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - m_start;
    m_lines.push_back(
        fmt::format(R"({{"number":{},"time":{:.3f},{})", m_next, elapsed.count(), entry.json.substr(1)));
    m_bytes += m_lines.back().size();
    ++m_next;
    while (m_lines.size() > kMostLines || (m_bytes > kMostBytes && m_lines.size() > 1)) {
        m_bytes -= m_lines.front().size();
        m_lines.pop_front();
    }
}

} // namespace pensim
