#pragma once

#include "pen_description.h"
#include "rule_book.h"

namespace pensim {

// A simulated pen as tests and commands see it. Any thread may call any operation; none waits for the
// network. The object lives as long as its service, docked or not, and keeps its state across connections.
class Pen
{
public:
    struct Impl;
    explicit Pen(std::unique_ptr<Impl> impl);
    ~Pen();
    Pen(const Pen &) = delete;
    Pen &operator=(const Pen &) = delete;

    // As it was first docked.
    const PenSpec &spec() const;
    std::uint64_t id() const;
    std::uint16_t port() const; // of its own service; 0 while undocked
    bool docked() const;
    bool dfuMode() const;

    // Properties as a request would read them. Setting one here checks nothing and stops what the pen
    // computes by itself (clock, free memory).
    Value property(std::uint16_t id) const;
    void setProperty(std::uint16_t id, Value value);

    std::vector<PageSpec> pages() const;
    void addPage(PageSpec page);
    void clearPages();
    void setStyloPages(std::vector<PageSpec> pages);

    bool locked() const;
    void lock();
    std::string password() const;
    std::string hint() const;
    void setPassword(std::string password, std::string hint); // an empty password unlocks the pen
    void setEncryptedData(std::optional<Bytes> data);
    std::optional<Bytes> encryptedData() const;

    bool syncSessionOpen() const;
    void setSyncBusy(bool busy); // refuses every new session
    std::uint16_t mmiState() const;

    // What was downloaded since the last download began, and whether the pen took it as its firmware.
    Bytes firmwareImage() const;
    bool firmwareInstalled() const;

    // Rules for what a request gets. `occurrence` counts from 1 the requests that the rule applies to; 0 is
    // every one. The youngest rule that applies wins.
    void addRule(const RuleSpec &rule);
    void onInstruction(std::uint32_t code, Reply reply, std::size_t occurrence = 0);
    // The responder is asked on the service's thread when the rule's turn comes; it may call the pen.
    void onInstruction(std::uint32_t code, Responder responder, std::size_t occurrence = 0);
    void onPropertyRead(std::uint16_t id, Reply reply, std::size_t occurrence = 0);
    void onPropertyWrite(std::uint16_t id, Reply reply, std::size_t occurrence = 0);
    void onConnection(Reply reply, std::size_t occurrence = 0);
    void clearRules();
    // Stops listening, so that connecting is refused by the system; connections that exist stay.
    void refuseConnections(bool refuse);
    void closeConnections(Ending ending);

    // Every request so far, in order of arrival over all connections.
    std::vector<Request> requests() const;
    std::size_t requestCount(std::uint32_t code) const;
    void clearRequests();
    bool waitForRequests(std::uint32_t code, std::size_t count, std::chrono::milliseconds timeout) const;

private:
    std::unique_ptr<Impl> m_impl;
};

} // namespace pensim
