#include "server.h"

#include <algorithm>

namespace pensim {

Connection::Connection(Socket socket, std::uint64_t number)
    : m_socket(std::move(socket)), m_timer(m_socket.get_executor()), m_number(number)
{
}

void Connection::start(std::optional<Outgoing> greeting, std::function<void()> forget)
{
    m_forget = std::move(forget);
    m_deaf = greeting.has_value();
    guarded([&] {
        read();
        if (greeting)
            send(std::move(*greeting));
    });
}

void Connection::guarded(const std::function<void()> &step)
{
    try {
        step();
    } catch (const std::exception &error) {
        fail(error.what());
    }
}

void Connection::fail(const char *reason)
{
    try {
        failed(reason);
    } catch (const std::exception &) {
        // There is no memory for the log entry. The connection is still closed.
    }
    close(Ending::close);
}

void Connection::close(Ending ending)
{
    if (!m_open)
        return;
    m_open = false;
    const auto self = shared_from_this();
    m_timer.cancel();
    m_forget();
    ended();
    finish(ending);
}

// If a socket is closed during a pending read, the peer may see end of file instead of the reset that is
// wanted. So the read is cancelled first, and its handler closes the socket.
void Connection::finish(Ending ending)
{
    m_ending = ending;
    asio::error_code ignored;
    if (m_reading && ending == Ending::reset)
        m_socket.cancel(ignored);
    else
        closeSocket(m_socket, ending);
}

void Connection::read()
{
    m_reading = true;
    m_socket.async_read_some(asio::buffer(m_chunk),
                             [self = shared_from_this()](asio::error_code error, std::size_t count) {
                                 self->m_reading = false;
                                 self->guarded([&] { self->readDone(error, count); });
                             });
}

void Connection::readDone(const asio::error_code &error, std::size_t count)
{
    if (!m_open) {
        closeSocket(m_socket, m_ending);
    } else if (error) {
        peerGone();
    } else {
        received({m_chunk.data(), count});
        if (m_open)
            read();
    }
}

// Messages in the queue are still sent, because the peer may have closed only its own direction.
void Connection::peerGone()
{
    if (!m_sending)
        close(Ending::close);
    else if (m_queue.back().ending == Ending::none)
        m_queue.back().ending = Ending::close;
}

void Connection::send(Outgoing outgoing)
{
    if (!m_open)
        return;
    if (!m_queue.empty() && m_queued + outgoing.bytes.size() > kLongestQueue) {
        fail("does not read what it is sent");
        return;
    }
    m_queued += outgoing.bytes.size();
    m_queue.push_back(std::move(outgoing));
    if (m_queue.size() == 1)
        pauseThen(m_queue.front().delay, &Connection::sendPiece);
}

void Connection::pauseThen(std::chrono::milliseconds pause, void (Connection::*step)())
{
    if (pause == std::chrono::milliseconds(0)) {
        (this->*step)();
        return;
    }
    m_timer.expires_after(pause);
    m_timer.async_wait([self = shared_from_this(), step](asio::error_code) {
        if (self->m_open)
            self->guarded([&] { (self.get()->*step)(); });
    });
}

void Connection::sendPiece()
{
    m_sending = true;
    const Bytes &bytes = m_queue.front().bytes;
    const std::size_t rest = bytes.size() - m_sent;
    const std::size_t largest = pieces().size;
    const std::size_t piece = largest == 0 ? rest : std::min(rest, largest);
    auto done = [self = shared_from_this()](asio::error_code error, std::size_t count) {
        if (self->m_open)
            self->guarded([&] { self->pieceSent(error, count); });
    };
    // Nothing to send is done later, too: a peer that piles up requests without answers would otherwise nest
    // as many calls.
    if (piece == 0)
        asio::post(m_socket.get_executor(), [done] { done({}, 0); });
    else
        asio::async_write(m_socket, asio::buffer(bytes.data() + m_sent, piece), done);
}

void Connection::pieceSent(const asio::error_code &error, std::size_t count)
{
    m_sent += count;
    if (error)
        close(Ending::close);
    else if (m_sent == m_queue.front().bytes.size())
        messageSent();
    else
        pauseThen(pieces().pause, &Connection::sendPiece);
}

void Connection::messageSent()
{
    const Ending ending = m_queue.front().ending;
    m_queued -= m_sent;
    m_queue.pop_front();
    m_sent = 0;
    m_sending = false;
    left();
    if (!m_open)
        return;
    if (ending != Ending::none)
        close(ending);
    else if (m_queue.empty())
        idle();
    else
        pauseThen(m_queue.front().delay, &Connection::sendPiece);
}

} // namespace pensim
