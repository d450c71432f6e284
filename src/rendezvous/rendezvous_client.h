#pragma once

#include "net/owned_socket.h"
#include "rendezvous/rendezvous_event.h"
#include "sys/event.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/** The client of the rendezvous server, which announces the pens that are present, arrive and leave. Messages
 *  are texts that end with NUL, over one TCP connection.
 *
 *  One thread uses a client. Other threads may call disconnectFromRendezvousServer() at any time. The first
 *  thread then gives up whatever it is doing, and all further calls fail until rearm(). */
class RendezvousClient
{
public:
    static constexpr std::uint32_t kRetryMilliseconds = 3000;
    /** Longer messages are cut: the rest up to the NUL is dropped. */
    static constexpr std::size_t kLongestMessage = 1023;

    /** The address is borrowed and must outlive the client. */
    RendezvousClient(const net::Endpoint &serverAddress, bool dfuMode);
    ~RendezvousClient();
    RendezvousClient(const RendezvousClient &) = delete;
    RendezvousClient &operator=(const RendezvousClient &) = delete;

    /** Tries once to connect, with a new socket. */
    bool connect();
    /** Throws ZELRendezvousException. */
    void subscribe();
    /** Tries to connect every 3000 ms until the server is there. Makes one new socket for all tries; if the
     *  system gives none, each try asks for one again. Throws ZELRendezvousShutDownException when another
     *  thread disconnects. */
    void wait();
    void waitForRendezvousServer();
    bool connectToRendezvousServer();
    /** The pens that are present, in the server's order, each with the command Connect. Throws
     *  ZELRendezvousException, and ZELException for an invalid pen id. */
    std::vector<RendezvousEvent> enumerate();
    /** Waits for one notification. Its command is ServerGone when the server closed the connection. Throws
     *  ZELException for an invalid pen id. */
    RendezvousEvent waitForRendezvousEvent();
    void disconnectFromRendezvousServer();
    /** Throws ZELRendezvousException on failure, but the socket is closed in any case. */
    void closeSocket();

    /** Allows connections again after disconnectFromRendezvousServer(). No other thread may use the client
     *  meanwhile. */
    void rearm();

private:
    enum class Received { Message, Closed, Failed };

    void initSocket();
    void openSocket();
    bool connectSocket();
    bool isDisconnecting() const noexcept { return m_disconnecting; }
    Received receiveMessage();
    void closeLostSocket();

    std::mutex m_socketLock; ///< held to change or shut down the socket, never during a blocking call
    net::OwnedSocket m_socket;
    const net::Endpoint *m_serverAddress;
    LEvent m_shutdownEvent{false, false};
    bool m_dfuMode;
    std::atomic<bool> m_disconnecting{false};
    bool m_wasConnected = false;
    /** The connection that wait() made stays open together with the one that replaces it. */
    bool m_socketIsOfWait = false;
    net::OwnedSocket m_socketOfWait;
    char m_buffer[kLongestMessage + 1] = {}; // of what is too long, the last byte is written over
    std::string_view m_message;              // in there
};

} // namespace zel
