#include "sys/text_window.h"

#include "sys/exceptions.h"

#include <algorithm>

namespace zel {

void TextWindow::appendSlowly(std::string_view text)
{
    while (!text.empty()) {
        if (room() == 0)
            flush();
        const std::string_view part = text.substr(0, room());
        std::memcpy(m_at, part.data(), part.size());
        m_at += part.size();
        text.remove_prefix(part.size());
    }
}

void TextWindow::repeatSlowly(char character, std::size_t count)
{
    if (!isKept())
        count = std::min(count, kSize);
    while (count > 0) {
        if (room() == 0)
            flush();
        const std::size_t part = std::min(count, room());
        std::memset(m_at, character, part);
        m_at += part;
        count -= part;
    }
}

void TextWindow::flush()
{
    const auto held = static_cast<std::size_t>(m_at - m_window);
    m_at = m_window;
    if (m_kept == nullptr)
        return;
    if (m_longest < held || m_kept->size() > m_longest - held)
        throw ZELException();
    m_kept->append(m_window, held);
}

} // namespace zel
