#pragma once

#include "pen_state.h"

namespace pensim {

/** Something that happened: a line for people, and a JSON object for programs. No password, digest or key is
 *  in either. */
struct LogEntry {
    std::string text;
    std::string json;
};

/** Called on the service's thread. */
using Log = std::function<void(const LogEntry &)>;

/** `who` is a pen's serial text, or "rendezvous". */
LogEntry exchangeEntry(const std::string &who, std::uint64_t connection, const Request &request,
                       const Answer &answer, const Reply &reply);
/** `event` is one word for programs, such as "connected"; `what` says it in words. */
LogEntry eventEntry(const std::string &who, std::uint64_t connection, const std::string &event,
                    const std::string &what);
/** A message of the rendezvous protocol, to or from a client. */
LogEntry messageEntry(std::optional<std::uint64_t> from, const std::string &message);

} // namespace pensim
