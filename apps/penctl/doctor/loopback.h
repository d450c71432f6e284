#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace penctl {

/** How long a step may take. */
using Limit = std::chrono::milliseconds;

/** How a step ended. */
enum class Step {
    Done,
    Refused, // nothing listens
    Late,    // not within the limit; the connection is closed
    Ended,   // by the other side
    Failed,
};

/** A TCP connection to a port of this machine. Every step has a limit, so that no silence of the other side
 * holds the program up. One thread. */
class LoopbackConnection
{
public:
    LoopbackConnection();
    ~LoopbackConnection();
    LoopbackConnection(const LoopbackConnection &) = delete;
    LoopbackConnection &operator=(const LoopbackConnection &) = delete;

    Step connect(uint16_t port, Limit limit);
    Step send(std::string_view bytes, Limit limit);
    /** Appends the bytes that come next, as many as there are. */
    Step receive(std::string &bytes, Limit limit);

    /** The system's words for the last step that failed. */
    std::string reason() const;

private:
    struct Socket;
    std::unique_ptr<Socket> m_socket;
};

} // namespace penctl
