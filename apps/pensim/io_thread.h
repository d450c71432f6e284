#pragma once

#include "rules.h"

#include <asio.hpp>
#include <atomic>
#include <functional>
#include <thread>

namespace pensim {

/** The thread that does all network operations. */
class IoThread
{
public:
    IoThread() = default;
    ~IoThread() { stop(); }
    IoThread(const IoThread &) = delete;
    IoThread &operator=(const IoThread &) = delete;

    asio::io_context &context() { return m_context; }
    void start();
    void stop();

    /** Runs the operation on the thread, waits for it, and rethrows its exceptions. When the thread does not
     *  run, or when called on that thread, runs the operation directly. */
    void run(const std::function<void()> &operation);

private:
    asio::io_context m_context{1};
    std::optional<asio::executor_work_guard<asio::io_context::executor_type>> m_work;
    std::thread m_thread;
    std::atomic<bool> m_running = false;
};

using Acceptor = asio::ip::tcp::acceptor;
using Socket = asio::ip::tcp::socket;

/** Listens on the loopback interface; throws std::system_error that names the port. */
Acceptor listenOnLoopback(asio::io_context &context, std::uint16_t port);
void closeSocket(Socket &socket, Ending ending);

} // namespace pensim
