#include "io_thread.h"

#include "platform.h"

#include <condition_variable>
#include <fmt/format.h>
#include <mutex>
#include <utility>

namespace pensim {

namespace {

// Connections handle the exceptions of their handlers. Should one fail to, the thread still serves the
// others.
void runUntilStopped(asio::io_context &context)
{
    for (;;) {
        try {
            context.run();
            return;
        } catch (const std::exception &) {
            continue;
        }
    }
}

} // namespace

void IoThread::start()
{
    m_context.restart();
    m_work.emplace(m_context.get_executor());
    m_running = true;
    m_thread = std::thread([this] { runUntilStopped(m_context); });
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

namespace {

// An operation that another thread waits for.
class Errand
{
public:
    explicit Errand(const std::function<void()> &operation) : m_operation(operation) {}

    void carryOut()
    {
        std::exception_ptr error;
        try {
            m_operation();
        } catch (...) {
            error = std::current_exception();
        }
        const std::lock_guard guard(m_mutex);
        m_error = std::move(error);
        m_done = true;
        m_changed.notify_one();
    }

    void wait()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_done; });
        if (m_error)
            std::rethrow_exception(std::exchange(m_error, nullptr));
    }

private:
    const std::function<void()> &m_operation;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_done = false;
    std::exception_ptr m_error;
};

} // namespace

void IoThread::run(const std::function<void()> &operation)
{
    if (!m_running || m_context.get_executor().running_in_this_thread()) {
        operation();
        return;
    }
    Errand errand(operation);
    asio::post(m_context, [&errand] { errand.carryOut(); });
    errand.wait();
}

Acceptor listenOnLoopback(asio::io_context &context, std::uint16_t port)
{
    const asio::ip::tcp::endpoint endpoint(asio::ip::address_v4::loopback(), port);
    try {
        Acceptor acceptor(context, endpoint.protocol());
        if (mayReusePorts())
            acceptor.set_option(Acceptor::reuse_address(true));
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
