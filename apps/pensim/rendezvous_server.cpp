#include "rendezvous_server.h"

#include <algorithm>
#include <deque>

namespace pensim {

namespace {

// A client's messages are short; one that never ends is no client.
constexpr std::size_t kLongestMessage = 4096;

Subscription subscriptionOf(std::string_view message)
{
    if (message.starts_with("RVA1\r\nsubscribe=RVP\r\n"))
        return Subscription::ordinary;
    if (message.starts_with("DVA1\r\nsubscribe=DVP\r\n"))
        return Subscription::dfu;
    return Subscription::none;
}

} // namespace

// One client's connection. What leaves is queued, so that announcements and list answers never mix.
class RendezvousSession : public std::enable_shared_from_this<RendezvousSession>
{
public:
    RendezvousSession(Socket socket, std::shared_ptr<RendezvousServer> server, std::uint64_t number)
        : m_socket(std::move(socket)),
          m_server(std::move(server)),
          m_timer(m_socket.get_executor()),
          m_number(number)
    {
    }

    Subscription subscription() const { return m_subscription; }
    void start(std::optional<Outgoing> greeting);
    void queue(Outgoing outgoing);
    void close(Ending ending);

private:
    void end(Ending ending);
    void read();
    void received(std::string_view bytes);
    void handle(const std::string &message);
    void sendNext();
    void sendPiece();
    void pieceSent(std::size_t count);
    void pauseThen(std::chrono::milliseconds pause, void (RendezvousSession::*step)());
    void messageSent();

    Socket m_socket;
    std::shared_ptr<RendezvousServer> m_server;
    asio::steady_timer m_timer;
    std::uint64_t m_number;
    Subscription m_subscription = Subscription::none;
    bool m_open = true;
    bool m_reading = false;
    Ending m_ending = Ending::none; // once it is not open
    bool m_deaf = false;
    std::array<char, 1024> m_chunk{};
    std::string m_message;
    std::deque<Outgoing> m_queue; // the first is on its way
    std::size_t m_sent = 0;       // of the first
};

void RendezvousSession::start(std::optional<Outgoing> greeting)
{
    m_deaf = greeting.has_value();
    read();
    if (greeting)
        queue(std::move(*greeting));
}

void RendezvousSession::close(Ending ending)
{
    if (!m_open)
        return;
    m_open = false;
    m_timer.cancel();
    const auto self = shared_from_this();
    m_server->m_sessions.erase(self);
    m_server->m_handler.subscriptionsChanged(); // before the client can know
    end(ending);
}

// A socket that is closed under a pending read may end in order where a reset is wanted: there the read,
// called off, closes it.
void RendezvousSession::end(Ending ending)
{
    m_ending = ending;
    asio::error_code ignored;
    if (m_reading && ending == Ending::reset)
        m_socket.cancel(ignored);
    else
        closeSocket(m_socket, ending);
}

void RendezvousSession::read()
{
    m_reading = true;
    m_socket.async_read_some(asio::buffer(m_chunk),
                             [self = shared_from_this()](asio::error_code error, std::size_t count) {
                                 self->m_reading = false;
                                 if (!self->m_open)
                                     closeSocket(self->m_socket, self->m_ending);
                                 else if (error)
                                     self->close(Ending::close);
                                 else
                                     self->received({self->m_chunk.data(), count});
                             });
}

void RendezvousSession::received(std::string_view bytes)
{
    for (const char byte : bytes) {
        if (byte != '\0')
            m_message += byte;
        else
            handle(std::exchange(m_message, {}));
        if (!m_open)
            return;
        if (m_message.size() > kLongestMessage)
            return close(Ending::close);
    }
    read();
}

void RendezvousSession::handle(const std::string &message)
{
    m_server->m_handler.received(m_number, message);
    if (m_deaf)
        return;
    if (const Subscription wanted = subscriptionOf(message); wanted != Subscription::none) {
        m_subscription = wanted;
        m_server->m_handler.subscriptionsChanged();
    } else if (message == "LIST") {
        queue(m_server->m_handler.listAnswer(m_subscription));
    }
}

void RendezvousSession::queue(Outgoing outgoing)
{
    m_queue.push_back(std::move(outgoing));
    if (m_queue.size() == 1)
        sendNext();
}

void RendezvousSession::sendNext()
{
    if (m_open && !m_queue.empty())
        pauseThen(m_queue.front().delay, &RendezvousSession::sendPiece);
}

void RendezvousSession::pauseThen(std::chrono::milliseconds pause, void (RendezvousSession::*step)())
{
    if (pause == std::chrono::milliseconds(0)) {
        (this->*step)();
        return;
    }
    m_timer.expires_after(pause);
    m_timer.async_wait([self = shared_from_this(), step](asio::error_code) {
        if (self->m_open)
            (self.get()->*step)();
    });
}

void RendezvousSession::sendPiece()
{
    const Bytes &bytes = m_queue.front().bytes;
    const std::size_t rest = bytes.size() - m_sent;
    if (rest == 0) {
        messageSent();
        return;
    }
    const std::size_t piece = m_server->m_fragment == 0 ? rest : std::min(rest, m_server->m_fragment);
    asio::async_write(m_socket, asio::buffer(bytes.data() + m_sent, piece),
                      [self = shared_from_this()](asio::error_code error, std::size_t count) {
                          if (!self->m_open)
                              return;
                          if (error)
                              self->close(Ending::close);
                          else
                              self->pieceSent(count);
                      });
}

void RendezvousSession::pieceSent(std::size_t count)
{
    m_sent += count;
    if (m_sent == m_queue.front().bytes.size())
        messageSent();
    else
        pauseThen(m_server->m_pause, &RendezvousSession::sendPiece);
}

void RendezvousSession::messageSent()
{
    const Ending ending = m_queue.front().ending;
    m_queue.pop_front();
    m_sent = 0;
    if (ending != Ending::none)
        close(ending);
    else
        sendNext();
}

RendezvousServer::RendezvousServer(asio::io_context &context, RendezvousHandler &handler)
    : m_context(context), m_handler(handler)
{
}

void RendezvousServer::listen(std::uint16_t port)
{
    m_acceptor = listenOnLoopback(m_context, port);
    m_port = m_acceptor->local_endpoint().port();
    accept();
}

void RendezvousServer::close(Ending ending)
{
    m_acceptor.reset();
    closeConnections(ending);
}

void RendezvousServer::closeConnections(Ending ending)
{
    for (const auto &session : std::set(m_sessions))
        session->close(ending);
}

void RendezvousServer::send(std::string_view bytes, Subscription to)
{
    for (const auto &session : std::set(m_sessions))
        if (session->subscription() == to)
            session->queue({{}, Bytes(bytes.begin(), bytes.end()), Ending::none});
}

void RendezvousServer::setFragments(std::size_t size, std::chrono::milliseconds pause)
{
    m_fragment = size;
    m_pause = pause;
}

std::size_t RendezvousServer::subscribers(Subscription kind) const
{
    return static_cast<std::size_t>(
        std::count_if(m_sessions.begin(), m_sessions.end(),
                      [kind](const auto &session) { return session->subscription() == kind; }));
}

void RendezvousServer::accept()
{
    m_acceptor->async_accept([self = shared_from_this()](asio::error_code error, Socket socket) {
        if (!self->m_acceptor || error == asio::error::operation_aborted)
            return;
        if (!error)
            self->serve(std::move(socket));
        if (self->m_acceptor)
            self->accept();
    });
}

void RendezvousServer::serve(Socket socket)
{
    asio::error_code ignored;
    socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    const auto session =
        std::make_shared<RendezvousSession>(std::move(socket), shared_from_this(), ++m_lastConnection);
    m_sessions.insert(session);
    session->start(m_handler.connected());
}

} // namespace pensim
