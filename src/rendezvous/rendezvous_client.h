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

/** The library's end of the rendezvous protocol: NUL-terminated text messages over one TCP
 *  connection, which announce the pens present, their arrivals and departures.
 *
 *  One thread uses a client. Any other thread may call disconnectFromRendezvousServer(), at any
 *  moment: whatever the first thread does then, it gives up, and goes on doing so until rearm(). */
class RendezvousClient
{
public:
    static constexpr std::uint32_t kRetryMilliseconds = 3000;
    /** What is kept of a message; the rest, up to its NUL, is dropped. */
    static constexpr std::size_t kLongestMessage = 1023;

    /** The address is borrowed and must outlive the client. */
    RendezvousClient(const net::Endpoint &serverAddress, bool dfuMode);
    ~RendezvousClient();
    RendezvousClient(const RendezvousClient &) = delete;
    RendezvousClient &operator=(const RendezvousClient &) = delete;

    /** One attempt on a fresh socket. */
    bool connect();
    /** Throws ZELRendezvousException. */
    void subscribe();
    /** Tries every 3000 ms, on one fresh socket, until the server is there; while the system gives no
     *  socket, each try asks for one. Throws ZELRendezvousShutDownException when told to disconnect. */
    void wait();
    void waitForRendezvousServer();
    bool connectToRendezvousServer();
    /** The pens present, in the server's order, all with the command Connect. Throws
     *  ZELRendezvousException, and ZELException for a pen id that is none. */
    std::vector<RendezvousEvent> enumerate();
    /** One notification, or ServerGone. Throws ZELException for a pen id that is none. */
    RendezvousEvent waitForRendezvousEvent();
    void disconnectFromRendezvousServer();
    /** Throws ZELRendezvousException; the socket is closed all the same. */
    void closeSocket();

    /** Makes connections possible again after disconnectFromRendezvousServer(). Not while another
     *  thread uses the client. */
    void rearm();

private:
    enum class Received { Message, Closed, Failed };

    void initSocket();
    void openSocket();
    bool connectSocket();
    bool isDisconnecting() const noexcept { return m_disconnecting; }
    Received receiveMessage();
    void closeLostSocket();

    std::mutex m_socketLock; ///< held to change or shut down the socket, never while blocked
    net::OwnedSocket m_socket;
    const net::Endpoint *m_serverAddress;
    LEvent m_shutdownEvent{false, false};
    bool m_dfuMode;
    std::atomic<bool> m_disconnecting{false};
    bool m_wasConnected = false;
    /** The connection that wait() made stays open beside the one that replaces it. */
    bool m_socketIsOfWait = false;
    net::OwnedSocket m_socketOfWait;
    std::string m_message;
};

} // namespace zel
