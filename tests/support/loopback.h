#pragma once

#include "net/owned_socket.h"
#include "net/socket.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

/** What tests need of the platform beyond the library's own sockets: the server's side of TCP on an
 *  ephemeral port of 127.0.0.1, resets, and datagrams, which show each send as one message. */
namespace loopback {

using zel::net::OwnedSocket;

/** A TCP server socket. One thread accepts; any thread may ask for the port. */
class Listener
{
public:
    explicit Listener(int backlog = 64);

    /** In the host's byte order. */
    std::uint16_t port() const noexcept { return m_port; }
    zel::net::Endpoint endpoint() const noexcept;
    /** Empty when nobody connected in time. */
    OwnedSocket accept(int milliseconds = 10000);
    void close() noexcept { m_socket.reset(); }

private:
    OwnedSocket m_socket;
    std::uint16_t m_port = 0;
};

/** A server that has no room for another connection: to it a connect hangs, where the system lets it. */
class FullListener
{
public:
    FullListener();
    zel::net::Endpoint endpoint() const noexcept { return m_listener.endpoint(); }

private:
    Listener m_listener{0};
    OwnedSocket m_only;
};

/** An endpoint where nobody listens. */
zel::net::Endpoint deadEndpoint();
OwnedSocket connectTo(const zel::net::Endpoint &server);
/** Both ends of one TCP connection. */
std::pair<OwnedSocket, OwnedSocket> connectedPair();
/** Both ends of one UDP association: each send, also an empty one, arrives as one message. */
std::pair<OwnedSocket, OwnedSocket> datagramPair();

bool isReadable(const OwnedSocket &socket, int milliseconds);
/** Exactly one recv; "(error)" when it failed. */
std::string receiveOnce(const OwnedSocket &socket);
/** Everything up to the end of the connection. */
std::string receiveAll(const OwnedSocket &socket);
/** As many bytes as asked for, fewer when the connection ends before. */
std::string receiveExactly(const OwnedSocket &socket, std::size_t count);
void sendAll(const OwnedSocket &socket, std::string_view bytes);
/** Whether a reset is always seen as one. Wine's server process may take the error for itself; the
 *  receive that follows then reads an orderly end. */
bool showsResets();
/** Ends the connection with a reset instead of an orderly close. */
void reset(OwnedSocket socket);

} // namespace loopback
