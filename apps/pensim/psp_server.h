#pragma once

#include "io_thread.h"
#include "rule_book.h"

#include <set>

namespace pensim {

class PspSession;

// What a pen's server needs of the pen. Called on the service's thread.
class PspHandler
{
public:
    virtual ~PspHandler() = default;
    // What a new connection gets that will not be served; nothing for one that will.
    virtual std::optional<Outgoing> connected(std::uint64_t connection) = 0;
    // Writes the response into `outgoing`, whose buffer comes back with its capacity for the next request.
    virtual void exchange(Request request, std::uint64_t connection, Outgoing &outgoing) = 0;
    virtual void answered() = 0; // the answer has left
    virtual void disconnected(std::uint64_t connection) = 0;
    virtual void protocolError(std::uint64_t connection, const std::string &text) = 0;
};

// The service port of one pen: accepts any number of connections and answers each one's requests in order.
// Lives on the service's thread.
class PspServer : public std::enable_shared_from_this<PspServer>
{
public:
    PspServer(asio::io_context &context, PspHandler &handler);

    void listen(std::uint16_t port);
    void stopListening();
    void close(); // everything
    void closeConnections(Ending ending);
    std::uint16_t port() const { return m_port; }
    bool listening() const { return m_acceptor.has_value(); }

private:
    friend class PspSession;
    void accept();
    void serve(Socket socket);

    asio::io_context &m_context;
    PspHandler &m_handler;
    std::optional<Acceptor> m_acceptor;
    std::uint16_t m_port = 0;
    std::uint64_t m_lastConnection = 0;
    std::set<std::shared_ptr<PspSession>> m_sessions;
};

} // namespace pensim
