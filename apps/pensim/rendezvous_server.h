#pragma once

#include "announcement.h"
#include "io_thread.h"
#include "rule_book.h"

#include <set>

namespace pensim {

class RendezvousSession;

// What the rendezvous server needs of the service. Called on the service's thread.
class RendezvousHandler
{
public:
    virtual ~RendezvousHandler() = default;
    virtual std::optional<Outgoing> connected() = 0;
    // The whole answer to a LIST of this subscriber.
    virtual Outgoing listAnswer(Subscription subscription) = 0;
    virtual void received(std::uint64_t connection, const std::string &text) = 0;
    virtual void subscriptionsChanged() = 0;
};

// The discovery server: takes subscriptions, answers lists, passes announcements on. Lives on the service's
// thread.
class RendezvousServer : public std::enable_shared_from_this<RendezvousServer>
{
public:
    RendezvousServer(asio::io_context &context, RendezvousHandler &handler);

    void listen(std::uint16_t port);
    void close(Ending ending);
    void closeConnections(Ending ending);
    std::uint16_t port() const { return m_port; }

    void send(std::string_view bytes, Subscription to);
    // From now on everything leaves in pieces of this size with a pause between them; 0 ends that.
    void setFragments(std::size_t size, std::chrono::milliseconds pause);
    std::size_t subscribers(Subscription kind) const;

private:
    friend class RendezvousSession;
    void accept();
    void serve(Socket socket);

    asio::io_context &m_context;
    RendezvousHandler &m_handler;
    std::optional<Acceptor> m_acceptor;
    std::uint16_t m_port = 0;
    std::uint64_t m_lastConnection = 0;
    std::size_t m_fragment = 0;
    std::chrono::milliseconds m_pause{0};
    std::set<std::shared_ptr<RendezvousSession>> m_sessions;
};

} // namespace pensim
