#pragma once

#include "rendezvous.h"

namespace pensim {

class IoThread;
class PenConnection;
template <typename Session>
class Server;

/** What a pen is doing at one moment. */
struct PenStatus {
    Announcement announced; // as of its last docking
    std::vector<std::uint64_t> connections;
    std::optional<std::uint64_t> session; // the connection that began it
    std::size_t sessionPages = 0;         // how many that connection has read, or the last one had
    bool busy = false;
    std::uint16_t mmiState = 0;
    std::map<std::uint32_t, std::size_t> exchanges; // by instruction
    std::uint64_t memory = 0;
    std::uint64_t freeMemory = 0;
    std::size_t pages = 0;
    std::size_t styloPages = 0;
    std::vector<RuleSpec> rules;
    std::vector<RuleSpec> connectionRules;
    DfuState dfuState = DfuState::appIdle;
    std::size_t imageSize = 0;
    bool imageInstalled = false;
};

/** A simulated pen. Any thread may call any operation; none waits for a host. The object lives as long as its
 *  service or until that loads another scenario, docked or not, and keeps its state across connections. */
class Pen
{
public:
    Pen(const PenSpec &spec, IoThread &io, bool recordRequests, Log log);
    ~Pen();
    Pen(const Pen &) = delete;
    Pen &operator=(const Pen &) = delete;

    /** The description with which it was first docked. */
    const PenSpec &spec() const;
    /** A description of its present state: a pen docked with it behaves in the same way. Leaves out the
     *  record of requests, and what responders decide. */
    PenSpec present() const;
    PenStatus status() const;
    std::uint64_t id() const;
    std::uint16_t port() const; // of its own service; 0 while undocked
    bool docked() const;
    bool dfuMode() const;

    /** Properties as a request reads them. Setting one here checks nothing. The pen then no longer computes
     *  it (clock, free memory). */
    Value property(std::uint16_t id) const;
    void setProperty(std::uint16_t id, Value value);

    /** Every property that the pen has, as it would be read. */
    std::map<std::uint16_t, Value> properties() const;
    /** How many bytes of strokes it can hold. It keeps the pages that it has already. */
    void setMemory(std::uint32_t bytes);

    std::vector<PageSpec> pages() const;
    void addPage(PageSpec page); // also when the memory is full
    /** Removes every page that the address matches, and returns how many. */
    std::size_t removePages(std::uint64_t pattern);
    void clearPages();
    void setStyloPages(std::vector<PageSpec> pages);

    bool locked() const;
    void lock();
    void unlock();
    std::string password() const;
    std::string hint() const;
    void setPassword(std::string password, std::string hint); // an empty password unlocks the pen
    void setEncryptedData(std::optional<Bytes> data);
    std::optional<Bytes> encryptedData() const;

    bool syncSessionOpen() const;
    void setSyncBusy(bool isBusy); // refuses every new session
    std::uint16_t mmiState() const;

    /** What was downloaded since the last download began, and whether the pen took it as its firmware. */
    Bytes firmwareImage() const;
    bool firmwareInstalled() const;

    /** Rules for what a request gets. `occurrence` counts from 1 the requests that the rule applies to; 0 is
     *  every one. The youngest rule that applies wins. */
    void addRule(const RuleSpec &rule);
    void onInstruction(std::uint32_t code, Reply reply, std::size_t occurrence = 0);
    /** The responder is asked on the service's thread when the rule's turn comes; it may call the pen. */
    void onInstruction(std::uint32_t code, Responder responder, std::size_t occurrence = 0);
    void onPropertyRead(std::uint16_t id, Reply reply, std::size_t occurrence = 0);
    void onPropertyWrite(std::uint16_t id, Reply reply, std::size_t occurrence = 0);
    void onConnection(Reply reply, std::size_t occurrence = 0);
    void clearRules();
    /** Stops listening, so that connecting is refused by the system; connections that exist stay. */
    void refuseConnections(bool refuse);
    void closeConnections(Ending ending);

    /** Every request so far, in order of arrival over all connections. */
    std::vector<Request> requests() const;
    std::size_t requestCount(std::uint32_t code) const;
    void clearRequests();
    bool waitForRequests(std::uint32_t code, std::size_t count, std::chrono::milliseconds timeout) const;

private:
    // The others of the service use these, on its thread.
    friend class PenConnection;
    friend class Server<PenConnection>;
    friend class Service;
    std::optional<Outgoing> connected(std::uint64_t connection);
    void cannotAccept(const std::string &reason);
    Outgoing exchange(Request request, std::uint64_t connection);
    void exchanged(); // the answer is being sent
    void answered();  // the answer was sent
    void disconnected(std::uint64_t connection);
    void gaveUp(std::uint64_t connection, const std::string &reason);
    void open(); // gets a service port and settles what is announced
    void close();
    void redock();

    Announcement announcement() const;
    std::string name() const;
    void note(Request request);
    void tell(std::uint64_t connection, const std::string &event, const std::string &what) const;

    const PenSpec m_spec; // as it was first docked; what changes is in the state
    IoThread &m_io;
    const bool m_record;
    const Log m_log;
    std::function<void()> m_restart;    // undocks the pen and docks it again
    std::function<void()> m_onExchange; // another request was answered
    const std::shared_ptr<Server<PenConnection>> m_server;
    Announcement m_announced; // since it was docked

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    // Under the lock:
    PenState m_state;
    RuleBook m_rules;
    RuleBook m_connectionRules;
    std::vector<Request> m_requests;
    std::map<std::uint32_t, std::size_t> m_requestCounts;
    std::uint16_t m_port = 0;
};

} // namespace pensim
