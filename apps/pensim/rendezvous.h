#pragma once

#include "log.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string_view>

namespace pensim {

/** Which pens are announced to a rendezvous client. */
enum class Subscription {
    none,     // connected, not subscribed yet
    ordinary, // RVA1
    dfu,      // DVA1
};

/** What the rendezvous server says about a docked pen. */
struct Announcement {
    std::uint64_t penId = 0;
    std::string brand;
    std::uint64_t softwareVersion = 0;
    std::vector<std::string> protocols;
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
    std::uint16_t port = 0;
    bool dfuMode = false;

    /** Pens in firmware-upgrade mode are announced to their own subscribers, all others to ordinary ones. */
    Subscription audience() const { return dfuMode ? Subscription::dfu : Subscription::ordinary; }
};

/** How the rendezvous server deviates from its usual behaviour. */
struct RendezvousSpec {
    std::vector<RuleSpec> listRules;
    std::vector<RuleSpec> connectionRules;
    std::size_t fragment = 0; // see Rendezvous::setFragments()
    std::chrono::milliseconds fragmentPause{0};
};

/** A message of a rendezvous client, without its NUL. */
struct RendezvousMessage {
    std::uint64_t connection = 0; // numbered from 1 in order of arrival
    std::string text;
};

class IoThread;
class RendezvousConnection;
template <typename Session>
class Server;

/** The discovery server: takes subscriptions, answers lists, passes announcements on. Any thread may call. */
class Rendezvous
{
public:
    /** `dockedPens` lists the pens in the order in which clients see them. */
    Rendezvous(IoThread &io, bool recordMessages, Log log,
               std::function<std::vector<Announcement>()> dockedPens);
    ~Rendezvous();
    Rendezvous(const Rendezvous &) = delete;
    Rendezvous &operator=(const Rendezvous &) = delete;

    std::uint16_t port() const;
    bool isListening() const;

    /** The server goes away: it stops listening and ends its connections. listen() brings it back on the same
     *  port; throws std::system_error when the port is taken. */
    void shutDown(Ending ending = Ending::close);
    void listen();

    /** Closes all connections; still accepts new ones. */
    void closeConnections(Ending ending);

    /** Sends the bytes unchanged to every subscriber of this kind. */
    void send(std::string_view bytes, Subscription to = Subscription::ordinary);

    /** Rules: what a LIST gets (the bytes replace the whole answer), and what a new connection gets. */
    void onList(Reply reply, std::size_t occurrence = 0);
    void onConnection(Reply reply, std::size_t occurrence = 0);
    void clearRules();
    /** Sends everything in pieces of so many bytes, with a pause between them; 0 sends as usual. */
    void setFragments(std::size_t size, std::chrono::milliseconds pause);
    /** Replaces the rules and the fragments. */
    void configure(const RendezvousSpec &spec);
    RendezvousSpec spec() const;

    std::size_t subscriberCount(Subscription kind) const;
    /** Waits until there are exactly so many. */
    bool waitForSubscribers(Subscription kind, std::size_t count, std::chrono::milliseconds timeout) const;
    std::size_t connectionCount() const;     // since the start
    std::size_t openConnectionCount() const; // now

    std::vector<RendezvousMessage> messages() const;
    bool waitForMessages(std::string_view text, std::size_t count, std::chrono::milliseconds timeout) const;
    void clearMessages();

private:
    // The others of the service use these, on its thread.
    friend class RendezvousConnection;
    friend class Server<RendezvousConnection>;
    friend class Service;
    void listenOn(std::uint16_t port);
    void announce(const Announcement &pen, std::string_view command);
    std::optional<Outgoing> connected(std::uint64_t connection);
    void cannotAccept(const std::string &reason);
    void gaveUp(std::uint64_t connection, const std::string &reason);
    void received(std::uint64_t connection, const std::string &text);
    Outgoing listAnswer(Subscription subscription);
    void subscriptionsChanged();
    Responder nextRule(RuleBook &rules);
    std::size_t subscribers(Subscription kind) const; // under the lock

    IoThread &m_io;
    const bool m_record;
    const Log m_log;
    const std::function<std::vector<Announcement>()> m_dockedPens;
    const std::shared_ptr<Server<RendezvousConnection>> m_server;
    std::size_t m_fragment = 0; // touched on the service's thread
    std::chrono::milliseconds m_fragmentPause{0};

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    // Under the lock:
    RuleBook m_listRules;
    RuleBook m_connectionRules;
    std::vector<RendezvousMessage> m_messages;
    std::size_t m_connections = 0;
    std::size_t m_openConnections = 0;
    std::size_t m_ordinarySubscribers = 0;
    std::size_t m_dfuSubscribers = 0;
    std::uint16_t m_port = 0;
};

} // namespace pensim
