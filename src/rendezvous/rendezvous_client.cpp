#include "rendezvous/rendezvous_client.h"

#include "rendezvous/rendezvous_message.h"
#include "sys/clock.h"
#include "sys/exceptions.h"
#include "sys/log.h"

#include <string_view>
#include <utility>

namespace zel {

namespace {

using namespace std::string_view_literals;

constexpr std::uint32_t kPauseMilliseconds = 10;

// Each message is sent with its terminating NUL.
constexpr std::string_view kSubscribe = "RVA1\r\nsubscribe=RVP\r\n\0"sv;
constexpr std::string_view kSubscribeDfu = "DVA1\r\nsubscribe=DVP\r\n\0"sv;
constexpr std::string_view kList = "LIST\0"sv;

ZELRendezvousException socketFailure(const char *text)
{
    return ZELRendezvousException(text + std::to_string(net::lastError()));
}

} // namespace

RendezvousClient::RendezvousClient(const net::Endpoint &serverAddress, bool dfuMode)
    : m_serverAddress(&serverAddress), m_dfuMode(dfuMode)
{
    initSocket();
    LogDebug("RendezvousClient - Created");
}

RendezvousClient::~RendezvousClient()
{
    LogDebug("RendezvousClient - Destructed");
}

void RendezvousClient::initSocket()
{
    LogDebug("RendezvousClient::initSocket()");
    net::startUp();
    LogDebug("[RendezvousClient] exiting initSocket");
}

void RendezvousClient::openSocket()
{
    // Wait, so that a server that closes every connection at once is not called in a tight loop.
    if (std::exchange(m_wasConnected, false))
        pauseFor(kPauseMilliseconds);
    const std::lock_guard guard(m_socketLock);
    if (std::exchange(m_socketIsOfWait, false))
        m_socketOfWait = std::move(m_socket);
    m_socket.reset(); // first, because the system may have no descriptor left for a second socket
    if (!isDisconnecting())
        m_socket.reset(net::createTcpSocket());
}

bool RendezvousClient::connectSocket()
{
    if (net::connect(m_socket.get(), *m_serverAddress, m_disconnecting) != 0)
        return false;
    m_wasConnected = true;
    // A disconnect during the connect may have shut down the socket before it was connected, without effect.
    return !isDisconnecting();
}

bool RendezvousClient::connect()
{
    LogDebug("RendezvousClient::connect()");
    openSocket();
    const bool connected = connectSocket();
    if (connected)
        LogDebug("[RendezvousClient] connected to rendezvous server");
    else
        LogError("[RendezvousClient] failed to connect to rendezvous server");
    return connected;
}

void RendezvousClient::subscribe()
{
    LogDebug("RendezvousClient::subscribe()");
    const std::string_view message = m_dfuMode ? kSubscribeDfu : kSubscribe;
    if (net::send(m_socket.get(), message.data(), message.size()) == net::kSocketError)
        throw socketFailure(
            "RendezvousClient::subscribe() - subscribing to rendezvous notifications failed: ");
    LogDebug("[RendezvousClient] subscribed to rendezvous notifications");
    LogDebug("[RendezvousClient] exiting subscribe");
}

void RendezvousClient::wait()
{
    LogDebug("RendezvousClient::wait()");
    openSocket();
    LogDebug("Waiting for rendezvous server to become available");
    while (!connectSocket()) {
        if (isDisconnecting() || waitFor(m_shutdownEvent, kRetryMilliseconds))
            throw ZELRendezvousShutDownException();
        if (!m_socket)
            openSocket();
    }
    m_socketIsOfWait = true;
    LogDebug("Connected to rendezvous server");
}

void RendezvousClient::waitForRendezvousServer()
{
    LogDebug("RendezvousClient::waitForRendezvousServer()");
    wait();
    subscribe();
}

bool RendezvousClient::connectToRendezvousServer()
{
    LogDebug("RendezvousClient::connectToRendezvousServer()");
    if (!connect())
        return false;
    subscribe();
    return true;
}

std::vector<RendezvousEvent> RendezvousClient::enumerate()
{
    LogDebug("RendezvousClient::enumerate()");
    if (net::send(m_socket.get(), kList.data(), kList.size()) == net::kSocketError)
        throw socketFailure("RendezvousClient::enumerate() - enummeration of connected pens failed ");
    std::vector<RendezvousEvent> events;
    for (;;) {
        switch (receiveMessage()) {
        case Received::Closed:
            closeLostSocket();
            return events;
        case Received::Failed: {
            const ZELRendezvousException failure =
                socketFailure("RendezvousClient::enumerate() - enumerating pens failed ");
            closeLostSocket();
            throw failure;
        }
        case Received::Message:
            break;
        }
        if (rendezvous::isEndOfList(m_message))
            break;
        if (rendezvous::isPenMessage(m_message)) {
            events.push_back(rendezvous::parsePenMessage(m_message));
            events.back().command = RendezvousCommand::Connect;
        }
    }
    LogDebug("[RendezvousClient] exiting enumerate");
    return events;
}

RendezvousEvent RendezvousClient::waitForRendezvousEvent()
{
    LogDebug("RendezvousClient::waitForRendezvousEvent()");
    RendezvousEvent event;
    const Received received = m_socket ? receiveMessage() : Received::Closed;
    const int error = received == Received::Failed ? net::lastError() : 0;
    if (received == Received::Closed || error == net::kErrorConnectionAborted ||
        error == net::kErrorConnectionReset) {
        event.command = RendezvousCommand::ServerGone;
        return event;
    }
    if (received == Received::Failed) {
        LogError("[waitForRendezvousEvent] Receive from RV server failed.");
        return event;
    }
    event = rendezvous::parsePenMessage(m_message);
    event.command = rendezvous::commandOf(m_message, event.servicePort);
    LogDebug("[RendezvousClient] exiting waitForRendezvousEvent");
    return event;
}

RendezvousClient::Received RendezvousClient::receiveMessage()
{
    const int received = net::recvText(m_socket.get(), m_buffer);
    if (received == 0)
        return Received::Closed;
    if (received == net::kSocketError)
        return Received::Failed;
    m_message = {m_buffer, static_cast<std::size_t>(received) - 1};
    return Received::Message;
}

void RendezvousClient::disconnectFromRendezvousServer()
{
    LogDebug("RendezvousClient::disconnectFromRendezvousServer()");
    // Set the flag first, so that a connect finishing later sees it and gives up.
    m_disconnecting = true;
    m_shutdownEvent.set();
    const std::lock_guard guard(m_socketLock);
    net::shutdown(m_socket.get(), net::ShutdownDirection::Both);
}

void RendezvousClient::closeSocket()
{
    const std::lock_guard guard(m_socketLock);
    const net::SocketHandle socket = m_socket.get();
    if (net::shutdown(socket, net::ShutdownDirection::Send) != 0) {
        const ZELRendezvousException failure =
            socketFailure("RendezvousClient::disconnectFromRendezvousServer() - shutdown socket failed ");
        m_socket.reset();
        throw failure;
    }
    if (net::close(m_socket.release()) != 0)
        throw socketFailure("RendezvousClient::disconnectFromRendezvousServer() - closing socket failed ");
}

void RendezvousClient::closeLostSocket()
{
    try {
        closeSocket();
    } catch (const ZELRendezvousException &failure) {
        // The caller reports the lost connection. A failure to close it is only logged.
        LogError(failure.what());
    }
}

void RendezvousClient::rearm()
{
    m_disconnecting = false;
    m_shutdownEvent.reset();
}

} // namespace zel
