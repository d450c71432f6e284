#pragma once

#include "io_thread.h"

#include <deque>
#include <set>
#include <span>

namespace pensim {

/** How many bytes may wait while a peer does not read, not counting the message that is being sent. */
inline constexpr std::size_t kLongestQueue = 16 << 20;

/** One peer's connection, whatever is spoken on it. It reads all the time, so that it sees at once that the
 *  peer is gone, and sends what is queued in order. A connection that fails in its work, for want of memory
 *  or because of what the peer sent, closes; the others go on. Lives on the service's thread. */
class Connection : public std::enable_shared_from_this<Connection>
{
public:
    Connection(Socket socket, std::uint64_t number);
    virtual ~Connection() = default;
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    std::uint64_t number() const { return m_number; }

    /** A connection with a greeting never answers. `forget` is called once when the connection closes. */
    void start(std::optional<Outgoing> greeting, std::function<void()> forget);
    void send(Outgoing outgoing);
    void close(Ending ending);

protected:
    virtual void received(std::span<const std::uint8_t> bytes) = 0;
    /** A message was sent. */
    virtual void left() {}
    /** All messages were sent, and the connection stays open. */
    virtual void idle() {}
    /** Called before the connection is closed. */
    virtual void ended() {}
    virtual void failed(const std::string &) {}
    /** Whether everything leaves in pieces, and the pause between them. */
    struct Pieces {
        std::size_t size = 0; // 0: as a whole
        std::chrono::milliseconds pause{0};
    };
    virtual Pieces pieces() const { return {}; }

    bool isOpen() const { return m_open; }
    bool isDeaf() const { return m_deaf; }
    bool isAnswering() const { return !m_queue.empty(); }

    /** Runs the step; if it throws, the connection closes. */
    void guarded(const std::function<void()> &step);
    /** Logs the reason and closes. */
    void fail(const char *reason);

private:
    void read();
    void readDone(const asio::error_code &error, std::size_t count);
    void peerGone();
    void pauseThen(std::chrono::milliseconds pause, void (Connection::*step)());
    void sendPiece();
    void pieceSent(const asio::error_code &error, std::size_t count);
    void messageSent();
    void finish(Ending ending);

    Socket m_socket;
    asio::steady_timer m_timer;
    const std::uint64_t m_number;
    std::function<void()> m_forget;
    bool m_open = true;
    bool m_deaf = false;
    bool m_reading = false;
    bool m_sending = false;         // the first of the queue has begun to leave
    Ending m_ending = Ending::none; // once it is not open
    Bytes m_chunk = Bytes(16384);
    std::deque<Outgoing> m_queue;
    std::size_t m_queued = 0; // bytes
    std::size_t m_sent = 0;   // bytes of the first
};

/** A listener on the loopback interface, and the connections that it accepted. Lives on the service's thread.
 *
 *  `Session` is a Connection that is made from a socket, a number and its owner. The owner, which outlives
 *  the server, has
 *
 *      std::optional<Outgoing> connected(std::uint64_t connection);  what one gets that is not to be served
 *      void cannotAccept(const std::string &reason); */
template <typename Session>
class Server : public std::enable_shared_from_this<Server<Session>>
{
public:
    using Owner = typename Session::Owner;
    using Sessions = std::set<std::shared_ptr<Session>>;

    Server(asio::io_context &context, Owner &owner) : m_context(context), m_owner(owner), m_pause(context) {}

    void listen(std::uint16_t port)
    {
        m_acceptor.emplace(listenOnLoopback(m_context, port));
        m_port = m_acceptor->local_endpoint().port();
        accept();
    }

    void stopListening()
    {
        m_acceptor.reset();
        m_pause.cancel();
    }

    void close(Ending ending)
    {
        stopListening();
        closeConnections(ending);
    }

    void closeConnections(Ending ending)
    {
        for (const auto &session : Sessions(m_sessions))
            session->close(ending);
    }

    bool isListening() const { return m_acceptor.has_value(); }
    /** The port that it listens on, or listened on last. */
    std::uint16_t port() const { return m_port; }
    const Sessions &sessions() const { return m_sessions; }

private:
    // Accepting fails when the process has no descriptors left. It then fails again at once: wait a while.
    static constexpr std::chrono::milliseconds kPauseAfterFailure{100};

    void accept()
    {
        m_acceptor->async_accept([self = this->shared_from_this()](asio::error_code error, Socket socket) {
            if (!self->m_acceptor || error == asio::error::operation_aborted)
                return;
            if (error)
                self->failed(error.message());
            else
                self->serve(std::move(socket));
            if (self->m_acceptor && !error)
                self->accept();
        });
    }

    void failed(const std::string &reason)
    {
        m_pause.expires_after(kPauseAfterFailure);
        m_pause.async_wait([self = this->shared_from_this()](asio::error_code error) {
            if (!error && self->m_acceptor)
                self->accept();
        });
        m_owner.cannotAccept(reason);
    }

    void serve(Socket socket)
    {
        try {
            asio::error_code ignored;
            socket.set_option(asio::ip::tcp::no_delay(true), ignored);
            const auto session = std::make_shared<Session>(std::move(socket), ++m_lastConnection, m_owner);
            m_sessions.insert(session);
            auto forget = [self = this->weak_from_this(), known = session.get()] {
                if (const auto server = self.lock())
                    std::erase_if(server->m_sessions, [&](const auto &one) { return one.get() == known; });
            };
            session->start(m_owner.connected(session->number()), forget);
        } catch (const std::exception &error) {
            m_owner.cannotAccept(error.what());
        }
    }

    asio::io_context &m_context;
    Owner &m_owner;
    std::optional<Acceptor> m_acceptor;
    asio::steady_timer m_pause;
    std::uint16_t m_port = 0;
    std::uint64_t m_lastConnection = 0;
    Sessions m_sessions;
};

} // namespace pensim
