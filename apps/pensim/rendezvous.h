#pragma once

#include "reply.h"

#include <memory>
#include <string>
#include <string_view>

namespace pensim {

enum class Subscription {
    none,     // connected, not subscribed yet
    ordinary, // RVA1
    dfu,      // DVA1
};

// A message of a rendezvous client, without its NUL.
struct RendezvousMessage {
    std::uint64_t connection = 0; // numbered from 1 in order of arrival
    std::string text;
};

// The discovery server, as tests see it. Any thread may call.
class Rendezvous
{
public:
    struct Impl;
    explicit Rendezvous(std::unique_ptr<Impl> impl);
    ~Rendezvous();
    Rendezvous(const Rendezvous &) = delete;
    Rendezvous &operator=(const Rendezvous &) = delete;

    std::uint16_t port() const;

    // The server goes away: it stops listening and ends its connections. listen() brings it back on the same
    // port; throws std::system_error when the port is taken.
    void shutDown(Ending ending = Ending::close);
    void listen();

    // Ends the connections there are; new ones are welcome.
    void closeConnections(Ending ending);

    // Sends these bytes as they are to every subscriber of the kind.
    void send(std::string_view bytes, Subscription to = Subscription::ordinary);

    // Rules: what a LIST gets (the bytes replace the whole answer), and what a new connection gets.
    void onList(Reply reply, std::size_t occurrence = 0);
    void onConnection(Reply reply, std::size_t occurrence = 0);
    void clearRules();
    // Everything leaves in pieces of so many bytes with a pause between them; 0 sends as usual.
    void setFragments(std::size_t size, std::chrono::milliseconds pause);

    std::size_t subscriberCount(Subscription kind) const;
    // Waits until there are exactly so many.
    bool waitForSubscribers(Subscription kind, std::size_t count, std::chrono::milliseconds timeout) const;
    std::size_t connectionCount() const; // since the start

    std::vector<RendezvousMessage> messages() const;
    bool waitForMessages(std::string_view text, std::size_t count, std::chrono::milliseconds timeout) const;
    void clearMessages();

private:
    std::unique_ptr<Impl> m_impl;
};

} // namespace pensim
