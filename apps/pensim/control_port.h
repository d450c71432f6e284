#pragma once

#include "control.h"
#include "server.h"

namespace pensim {

/** The longest line of a command: pages are given with their strokes. */
inline constexpr std::size_t kLongestCommand = 16 << 20;

class ControlConnection;

/** Commands on a port of the loopback interface: a JSON object a line, and one for each answer. A line that
 * is none ends the connection. So no page in a browser can slip a command into a request that it sends here.
 */
class ControlPort
{
public:
    /** The control outlives the port. `quit` is called on the service's thread when the answer to a `quit`
     * has left. Throws std::system_error when the port is taken. */
    ControlPort(Service &service, Control &control, std::uint16_t port, std::function<void()> quit);
    ~ControlPort();
    ControlPort(const ControlPort &) = delete;
    ControlPort &operator=(const ControlPort &) = delete;

    std::uint16_t port() const { return m_port; }

private:
    friend class ControlConnection;
    friend class Server<ControlConnection>;
    std::optional<Outgoing> connected(std::uint64_t) { return std::nullopt; }
    void cannotAccept(const std::string &) {}

    IoThread &m_io;
    Control &m_control;
    const std::function<void()> m_quit;
    const std::shared_ptr<Server<ControlConnection>> m_server;
    std::uint16_t m_port = 0;
};

} // namespace pensim
