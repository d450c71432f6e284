#pragma once

#include "support/loopback.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/** The server's end of one rendezvous connection after another, on a thread and an ephemeral port of its
 *  own. What each connection does is given as a function; when it returns the connection is closed. */
class RendezvousServer
{
public:
    using Conversation = std::function<void(const loopback::OwnedSocket &client)>;

    explicit RendezvousServer(Conversation conversation);
    ~RendezvousServer();
    RendezvousServer(const RendezvousServer &) = delete;
    RendezvousServer &operator=(const RendezvousServer &) = delete;

    const zel::net::Endpoint &endpoint() const noexcept { return m_endpoint; }
    /** Connections that have ended or are under way. */
    int connections() const;
    bool waitForConnections(int count) const;

private:
    void serve();

    loopback::Listener m_listener;
    zel::net::Endpoint m_endpoint;
    Conversation m_conversation;
    mutable std::mutex m_lock;
    mutable std::condition_variable m_changed;
    int m_connections = 0;
    bool m_stopping = false;
    std::thread m_thread;
};

namespace rendezvous_wire {

/** A message as it travels: the text and its NUL. */
std::string message(const std::string &text);
/** The lines of a pen that speaks version 4.1. */
std::string pen(const std::string &command, const std::string &id, const std::string &port = "49153");
inline const std::string kSubscribe{"RVA1\r\nsubscribe=RVP\r\n\0", 22};
inline const std::string kSubscribeDfu{"DVA1\r\nsubscribe=DVP\r\n\0", 22};
inline const std::string kList{"LIST\0", 5};

/** Reads the subscription and the list request, answers with these messages and the end of the list. */
void enumerate(const loopback::OwnedSocket &client, const std::vector<std::string> &pens);
/** Waits until the client has closed or shut down its side. */
void untilClosed(const loopback::OwnedSocket &client);

} // namespace rendezvous_wire
