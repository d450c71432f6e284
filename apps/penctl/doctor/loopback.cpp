#include "doctor/loopback.h"

#include <optional>

#include <asio.hpp>

namespace penctl {

struct LoopbackConnection::Socket {
    /** Starts an operation and waits for its end, or ends it itself when it is late. */
    template <class Start>
    Step run(Limit limit, const Start &start)
    {
        std::optional<asio::error_code> result;
        start([&result](asio::error_code how, std::size_t = 0) { result = how; });
        context.restart();
        context.run_for(limit);
        const bool late = !result;
        if (late) {
            asio::error_code ignored;
            socket.close(ignored);
            context.run(); // the operation ends now
        }
        error = result.value_or(asio::error::timed_out);
        return late ? Step::Late : stepOf(error);
    }

    static Step stepOf(const asio::error_code &how)
    {
        if (!how)
            return Step::Done;
        if (how == asio::error::connection_refused)
            return Step::Refused;
        const bool ended = how == asio::error::eof || how == asio::error::connection_reset ||
                           how == asio::error::connection_aborted || how == asio::error::broken_pipe;
        return ended ? Step::Ended : Step::Failed;
    }

    asio::io_context context{1};
    asio::ip::tcp::socket socket{context};
    asio::error_code error;
};

LoopbackConnection::LoopbackConnection() : m_socket(std::make_unique<Socket>()) {}

LoopbackConnection::~LoopbackConnection() = default;

Step LoopbackConnection::connect(uint16_t port, Limit limit)
{
    return m_socket->run(limit, [&](auto done) {
        m_socket->socket.async_connect({asio::ip::address_v4::loopback(), port}, done);
    });
}

Step LoopbackConnection::send(std::string_view bytes, Limit limit)
{
    return m_socket->run(limit, [&](auto done) {
        asio::async_write(m_socket->socket, asio::buffer(bytes.data(), bytes.size()), done);
    });
}

Step LoopbackConnection::receive(std::string &bytes, Limit limit)
{
    std::string chunk(16384, '\0');
    std::size_t count = 0;
    const Step step = m_socket->run(limit, [&](auto done) {
        m_socket->socket.async_read_some(asio::buffer(chunk),
                                         [&count, done](asio::error_code how, std::size_t read) {
                                             count = read;
                                             done(how, read);
                                         });
    });
    bytes.append(chunk, 0, count);
    return step;
}

std::string LoopbackConnection::reason() const
{
    return m_socket->error.message();
}

} // namespace penctl
