#pragma once

#include "announcement.h"
#include "pen.h"
#include "pen_state.h"
#include "psp_server.h"

#include <condition_variable>
#include <mutex>

namespace pensim {

using Log = std::function<void(const std::string &line)>;

// The pen behind its public face: the state under its lock, and the server on the service's thread.
struct Pen::Impl final : PspHandler {
    Impl(const PenSpec &penSpec, IoThread &ioThread, bool recordRequests, Log logLine);

    std::optional<Outgoing> connected(std::uint64_t connection) override;
    void exchange(Request request, std::uint64_t connection, Outgoing &outgoing) override;
    void answered() override;
    void disconnected(std::uint64_t connection) override;
    void protocolError(std::uint64_t connection, const std::string &text) override;

    // On the service's thread: the pen gets its service port and settles what is announced of it; it loses
    // the port; it is set on its dock anew.
    void open();
    void close();
    void redock();

    const PenSpec spec; // its identity; what changes is in the state
    IoThread &io;
    const bool record;
    const Log log;
    std::function<void()> restart;     // undocks the pen and docks it again
    std::shared_ptr<PspServer> server; // while docked
    Announcement announced;            // since it was docked

    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    // Under the lock:
    PenState state;
    RuleBook rules;
    RuleBook connectionRules;
    std::vector<Request> requests;
    std::unordered_map<std::uint32_t, std::size_t> requestCounts;
    std::uint16_t port = 0;

private:
    Announcement announcement() const;
    void note(Request request);
    void logExchange(const Request &request, std::uint64_t connection, const Answer &answer,
                     const Reply &reply);
};

} // namespace pensim
