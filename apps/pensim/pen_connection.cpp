#include "pen_connection.h"

#include "pen.h"

namespace pensim {

void PenConnection::received(std::span<const std::uint8_t> bytes)
{
    if (isDeaf())
        return;
    if (m_backlog.size() - m_taken + bytes.size() > kLongestBacklog) {
        fail("does not wait for its answers");
        return;
    }
    m_backlog.insert(m_backlog.end(), bytes.begin(), bytes.end());
    answerNext();
}

void PenConnection::answerNext()
{
    if (isAnswering() || !isOpen())
        return;
    std::span<const std::uint8_t> input(m_backlog);
    input = input.subspan(m_taken);
    const bool whole = m_decoder.take(input);
    m_taken = m_backlog.size() - input.size();
    // What was taken is dropped once it is the larger part, so that a long backlog is not moved for every
    // request in it.
    if (m_taken > m_backlog.size() / 2) {
        m_backlog.erase(m_backlog.begin(), m_backlog.begin() + static_cast<std::ptrdiff_t>(m_taken));
        m_taken = 0;
    }
    if (!whole)
        return;
    send(m_pen.exchange(m_decoder.request(), number()));
    m_pen.exchanged();
}

void PenConnection::left()
{
    m_pen.answered();
}

void PenConnection::ended()
{
    m_pen.disconnected(number());
}

void PenConnection::failed(const std::string &reason)
{
    m_pen.gaveUp(number(), reason);
}

} // namespace pensim
