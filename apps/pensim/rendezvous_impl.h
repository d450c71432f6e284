#pragma once

#include "rendezvous_server.h"
#include "scenario.h"

#include <condition_variable>
#include <mutex>

namespace pensim {

// The rendezvous server behind its public face: what was seen under a lock, the server on the service's
// thread.
struct Rendezvous::Impl final : RendezvousHandler {
    Impl(IoThread &ioThread, bool recordMessages, std::function<void(const std::string &)> logLine);

    std::optional<Outgoing> connected() override;
    Outgoing listAnswer(Subscription subscription) override;
    void received(std::uint64_t connection, const std::string &text) override;
    void subscriptionsChanged() override;

    void configure(const RendezvousSpec &spec);
    // On the service's thread.
    void listen(std::uint16_t wantedPort);
    void announce(const Announcement &pen, std::string_view command);

    IoThread &io;
    const bool record;
    const std::function<void(const std::string &)> log;
    std::function<std::vector<Announcement>()> dockedPens; // in list order
    std::shared_ptr<RendezvousServer> server;

    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    // Under the lock:
    RuleBook listRules;
    RuleBook connectionRules;
    std::vector<RendezvousMessage> messages;
    std::size_t connections = 0;
    std::size_t ordinarySubscribers = 0;
    std::size_t dfuSubscribers = 0;
    std::uint16_t port = 0;

    std::size_t subscribers(Subscription kind) const; // under the lock

private:
    Responder nextRule(RuleBook &rules);
};

} // namespace pensim
