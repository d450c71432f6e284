#include "psp_server.h"

#include "wire_codec.h"

namespace pensim {

// One host's connection. Reading never pauses, so that the session sees at once that its host is gone.
class PspSession : public std::enable_shared_from_this<PspSession>
{
public:
    PspSession(Socket socket, std::shared_ptr<PspServer> server, std::uint64_t number)
        : m_socket(std::move(socket)),
          m_server(std::move(server)),
          m_timer(m_socket.get_executor()),
          m_number(number)
    {
    }

    void start(Outgoing greeting, bool deaf);
    void close(Ending ending);

private:
    void end(Ending ending);
    void read();
    void received(std::size_t count);
    void hostGone();
    void answerNext();
    bool takeRequest(Request &request);
    void waitAndSend();
    void send();
    void sent();

    Socket m_socket;
    std::shared_ptr<PspServer> m_server;
    asio::steady_timer m_timer;
    std::uint64_t m_number;
    bool m_open = true;
    bool m_reading = false;
    Ending m_ending = Ending::none; // once it is not open
    bool m_deaf = false;            // never answers
    bool m_busy = false;            // with an answer
    bool m_sending = false;         // part of m_busy
    Bytes m_chunk = Bytes(65536);
    Bytes m_input;
    std::size_t m_wanted = 1; // input bytes without which no request can be complete
    Outgoing m_outgoing;
};

void PspSession::start(Outgoing greeting, bool deaf)
{
    m_deaf = deaf;
    m_outgoing = std::move(greeting);
    m_busy = true;
    read();
    waitAndSend();
}

void PspSession::close(Ending ending)
{
    if (!m_open)
        return;
    m_open = false;
    m_timer.cancel();
    const auto self = shared_from_this();
    m_server->m_sessions.erase(self);
    m_server->m_handler.disconnected(m_number); // before the host can know
    end(ending);
}

// A socket that is closed under a pending read may end in order where a reset is wanted: there the read,
// called off, closes it.
void PspSession::end(Ending ending)
{
    m_ending = ending;
    asio::error_code ignored;
    if (m_reading && ending == Ending::reset)
        m_socket.cancel(ignored);
    else
        closeSocket(m_socket, ending);
}

void PspSession::read()
{
    m_reading = true;
    m_socket.async_read_some(asio::buffer(m_chunk),
                             [self = shared_from_this()](asio::error_code error, std::size_t count) {
                                 self->m_reading = false;
                                 if (!self->m_open)
                                     closeSocket(self->m_socket, self->m_ending);
                                 else if (error)
                                     self->hostGone();
                                 else
                                     self->received(count);
                             });
}

// What is on its way still leaves: a host may have closed its own direction only.
void PspSession::hostGone()
{
    if (m_sending)
        m_outgoing.ending = m_outgoing.ending == Ending::none ? Ending::close : m_outgoing.ending;
    else
        close(Ending::close);
}

void PspSession::received(std::size_t count)
{
    if (!m_deaf)
        m_input.insert(m_input.end(), m_chunk.begin(), m_chunk.begin() + static_cast<std::ptrdiff_t>(count));
    if (!m_busy)
        answerNext();
    if (m_open)
        read();
}

bool PspSession::takeRequest(Request &request)
{
    std::span<const std::uint8_t> rest = m_input;
    try {
        request = decodeRequest(rest);
    } catch (const TruncatedInput &truncated) {
        m_wanted = m_input.size() + truncated.missing();
        return false;
    }
    m_input.erase(m_input.begin(), m_input.end() - static_cast<std::ptrdiff_t>(rest.size()));
    m_wanted = 1;
    return true;
}

void PspSession::answerNext()
{
    try {
        Request request;
        if (m_input.size() < m_wanted || !takeRequest(request))
            return;
        m_busy = true;
        m_outgoing.bytes.clear();
        m_server->m_handler.exchange(std::move(request), m_number, m_outgoing);
        waitAndSend();
    } catch (const MalformedInput &error) {
        m_server->m_handler.protocolError(m_number, error.what());
        close(Ending::close);
    }
}

void PspSession::waitAndSend()
{
    if (m_outgoing.delay == std::chrono::milliseconds(0)) {
        send();
        return;
    }
    m_timer.expires_after(m_outgoing.delay);
    m_timer.async_wait([self = shared_from_this()](asio::error_code) {
        if (self->m_open)
            self->send();
    });
}

void PspSession::send()
{
    m_sending = true;
    if (m_outgoing.bytes.empty()) {
        sent();
        return;
    }
    asio::async_write(m_socket, asio::buffer(m_outgoing.bytes),
                      [self = shared_from_this()](asio::error_code error, std::size_t) {
                          if (!self->m_open)
                              return;
                          if (error)
                              self->close(Ending::close);
                          else
                              self->sent();
                      });
}

void PspSession::sent()
{
    m_busy = m_sending = false;
    m_server->m_handler.answered();
    if (!m_open)
        return;
    if (m_outgoing.ending != Ending::none)
        close(m_outgoing.ending);
    else
        answerNext();
}

PspServer::PspServer(asio::io_context &context, PspHandler &handler) : m_context(context), m_handler(handler)
{
}

void PspServer::listen(std::uint16_t port)
{
    m_acceptor = listenOnLoopback(m_context, port);
    m_port = m_acceptor->local_endpoint().port();
    accept();
}

void PspServer::stopListening()
{
    m_acceptor.reset();
}

void PspServer::close()
{
    stopListening();
    m_port = 0;
    closeConnections(Ending::close);
}

void PspServer::closeConnections(Ending ending)
{
    for (const auto &session : std::set(m_sessions))
        session->close(ending);
}

void PspServer::accept()
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

void PspServer::serve(Socket socket)
{
    asio::error_code ignored;
    socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    const std::uint64_t number = ++m_lastConnection;
    const auto session = std::make_shared<PspSession>(std::move(socket), shared_from_this(), number);
    m_sessions.insert(session);
    std::optional<Outgoing> greeting = m_handler.connected(number);
    session->start(greeting.value_or(Outgoing{}), greeting.has_value());
}

} // namespace pensim
