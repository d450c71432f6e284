#include "io_thread.h"

#include <fmt/format.h>

namespace pensim {

namespace {

// On Linux a listener may take a port over from connections that linger; on Windows the same option would let
// two services share the port.
void allowReuse([[maybe_unused]] Acceptor &acceptor)
{
#ifndef _WIN32
    acceptor.set_option(Acceptor::reuse_address(true));
#endif
}

} // namespace

void IoThread::start()
{
    m_context.restart();
    m_work.emplace(m_context.get_executor());
    m_running = true;
    m_thread = std::thread([this] { m_context.run(); });
}

void IoThread::stop()
{
    if (!m_thread.joinable())
        return;
    m_work.reset();
    m_context.stop();
    m_thread.join();
    m_running = false;
}

Acceptor listenOnLoopback(asio::io_context &context, std::uint16_t port)
{
    const asio::ip::tcp::endpoint endpoint(asio::ip::address_v4::loopback(), port);
    try {
        Acceptor acceptor(context, endpoint.protocol());
        allowReuse(acceptor);
        acceptor.bind(endpoint);
        acceptor.listen();
        return acceptor;
    } catch (const std::system_error &error) {
        const bool taken = error.code() == asio::error::address_in_use;
        throw std::system_error(error.code(), fmt::format("cannot listen on port {} of 127.0.0.1{}", port,
                                                          taken ? ", which is in use" : ""));
    }
}

void closeSocket(Socket &socket, Ending ending)
{
    asio::error_code ignored;
    if (ending == Ending::reset)
        socket.set_option(asio::socket_base::linger(true, 0), ignored);
    else
        socket.shutdown(Socket::shutdown_both, ignored);
    socket.close(ignored);
}

} // namespace pensim
