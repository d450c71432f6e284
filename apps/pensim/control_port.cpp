#include "control_port.h"

#include <algorithm>

namespace pensim {

/** One program that steers the service. Its commands are carried out one after the other. */
class ControlConnection final : public Connection
{
public:
    using Owner = ControlPort;
    ControlConnection(Socket socket, std::uint64_t number, ControlPort &port)
        : Connection(std::move(socket), number), m_port(port)
    {
    }

private:
    void received(std::span<const std::uint8_t> bytes) override;
    void left() override;
    void runNext();
    void dropTaken();
    void answer(const ControlAnswer &given, Ending ending);

    ControlPort &m_port;
    std::string m_input;
    std::size_t m_taken = 0;    // from the front of the input
    std::size_t m_searched = 0; // up to here, what is not taken has no end of line
    bool m_waiting = false;     // for an answer
    bool m_refused = false;     // takes no more commands
    bool m_quit = false;
};

void ControlConnection::received(std::span<const std::uint8_t> bytes)
{
    if (m_refused)
        return;
    if (m_input.size() - m_taken + bytes.size() > kLongestCommand) {
        answer({"a command that is too long", {}, {}, false}, Ending::close);
        return;
    }
    m_input.append(bytes.begin(), bytes.end());
    runNext();
}

void ControlConnection::runNext()
{
    while (isOpen() && !m_waiting && !m_refused) {
        const auto end = m_input.find('\n', m_searched);
        m_searched = end == m_input.npos ? m_input.size() : end + 1;
        if (end == m_input.npos)
            return;
        std::string line = m_input.substr(m_taken, end - m_taken);
        m_taken = end + 1;
        dropTaken();
        if (line.ends_with('\r'))
            line.pop_back();
        if (!line.starts_with('{')) {
            answer({"a command is a JSON object in one line", {}, {}, false}, Ending::close);
            return;
        }
        m_waiting = true;
        const auto self = std::static_pointer_cast<ControlConnection>(shared_from_this());
        m_port.m_control.runLine(line, [connection = std::weak_ptr(self)](const ControlAnswer &given) {
            if (const auto known = connection.lock())
                known->guarded([&] { known->answer(given, Ending::none); });
        });
    }
}

// Only once it is the larger part, so that many short lines are not moved for each of them.
void ControlConnection::dropTaken()
{
    if (m_taken <= m_input.size() / 2)
        return;
    m_input.erase(0, m_taken);
    m_searched -= m_taken;
    m_taken = 0;
}

void ControlConnection::answer(const ControlAnswer &given, Ending ending)
{
    const std::string line = given.toJsonLine();
    m_waiting = false;
    m_refused = ending != Ending::none;
    m_quit = m_quit || given.quit;
    send({{}, Bytes(line.begin(), line.end()), ending});
    if (m_taken < m_input.size())
        asio::post(m_port.m_io.context(), [self = shared_from_this(), this] { guarded([&] { runNext(); }); });
}

void ControlConnection::left()
{
    if (m_quit && !isAnswering())
        m_port.m_quit();
}

ControlPort::ControlPort(Service &service, Control &control, std::uint16_t port, std::function<void()> quit)
    : m_io(service.io()),
      m_control(control),
      m_quit(std::move(quit)),
      m_server(std::make_shared<Server<ControlConnection>>(m_io.context(), *this))
{
    m_io.run([&] { m_server->listen(port); });
    m_port = m_server->port();
}

ControlPort::~ControlPort()
{
    m_io.run([this] { m_server->close(Ending::close); });
}

} // namespace pensim
