#include "net/receive_text.h"
#include "net/socket.h"

#include "sys/log.h"

#include <algorithm>
#include <climits>

#include <winsock2.h>

namespace zel::net {

namespace {

constexpr long kStopCheckMicroseconds = 50000;

/** Windows guarantees that kernel handles fit into 32 bits. */
SOCKET native(SocketHandle socket) noexcept
{
    return static_cast<SOCKET>(static_cast<std::uint32_t>(socket));
}

bool refused(SocketHandle socket) noexcept
{
    if (socket == kNoSocket)
        WSASetLastError(WSAENOTSOCK);
    return socket == kNoSocket;
}

int clamped(std::size_t length) noexcept
{
    return static_cast<int>(std::min<std::size_t>(length, INT_MAX));
}

int connectOnce(SOCKET socket, const sockaddr_in &address) noexcept
{
    return ::connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address);
}

sockaddr_in addressOf(const Endpoint &endpoint) noexcept
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = endpoint.port;
    address.sin_addr.s_addr = endpoint.address;
    return address;
}

/** Connects. Under Wine, if the last attempt on this socket was refused, connect() may first report that old
 *  error; then tries again. */
template <class Attempt>
int connectInTwo(Attempt attempt) noexcept
{
    const int result = attempt();
    return result != 0 && WSAGetLastError() == WSAECONNABORTED ? attempt() : result;
}

bool setBlocking(SOCKET socket, bool blocking) noexcept
{
    u_long nonBlocking = blocking ? 0 : 1;
    return ::ioctlsocket(socket, FIONBIO, &nonBlocking) == 0;
}

/** Waits for the result of a pending connect. The system's event for it (FD_CONNECT) cannot be used: it is
 *  set only for a socket's first connect. */
int awaitConnect(SOCKET socket, const std::atomic<bool> &stop) noexcept
{
    fd_set connected;
    fd_set failed;
    int ended = 0;
    while (ended == 0 && !stop) {
        FD_ZERO(&connected);
        FD_ZERO(&failed);
        FD_SET(socket, &connected);
        FD_SET(socket, &failed);
        timeval stopCheck{0, kStopCheckMicroseconds};
        ended = ::select(0, nullptr, &connected, &failed, &stopCheck);
    }
    if (ended == 0)
        WSASetLastError(WSAEINTR);
    if (ended <= 0)
        return kSocketError;
    if (FD_ISSET(socket, &connected))
        return 0;
    int error = 0;
    int size = sizeof error;
    ::getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char *>(&error), &size);
    WSASetLastError(error);
    return kSocketError;
}

} // namespace

void startUp()
{
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 0), &data) != 0)
        LogError("[PspClient2] winsock startup failed");
}

void cleanUp() noexcept
{
    WSACleanup();
}

int lastError() noexcept
{
    return WSAGetLastError();
}

SocketHandle createTcpSocket() noexcept
{
    const SOCKET created = WSASocketW(AF_INET, SOCK_STREAM, IPPROTO_TCP, nullptr, 0,
                                      WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
    return created == INVALID_SOCKET ? kNoSocket : static_cast<SocketHandle>(created);
}

int connect(SocketHandle socket, const Endpoint &endpoint) noexcept
{
    if (refused(socket))
        return kSocketError;
    const sockaddr_in address = addressOf(endpoint);
    return connectInTwo([&] { return connectOnce(native(socket), address); });
}

int connect(SocketHandle socket, const Endpoint &endpoint, const std::atomic<bool> &stop) noexcept
{
    if (refused(socket) || !setBlocking(native(socket), false))
        return kSocketError;
    const sockaddr_in address = addressOf(endpoint);
    const int result = connectInTwo([&] {
        const int begun = connectOnce(native(socket), address);
        return begun != 0 && WSAGetLastError() == WSAEWOULDBLOCK ? awaitConnect(native(socket), stop) : begun;
    });
    const int error = WSAGetLastError();
    if (!setBlocking(native(socket), true))
        return kSocketError;
    WSASetLastError(error);
    return result;
}

void setNoDelay(SocketHandle socket) noexcept
{
    const BOOL on = TRUE;
    if (!refused(socket))
        ::setsockopt(native(socket), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char *>(&on),
                     sizeof on);
}

int send(SocketHandle socket, const void *data, std::size_t length) noexcept
{
    if (refused(socket))
        return kSocketError;
    return ::send(native(socket), static_cast<const char *>(data), clamped(length), 0);
}

int recv(SocketHandle socket, void *data, std::size_t length) noexcept
{
    if (refused(socket))
        return kSocketError;
    return ::recv(native(socket), static_cast<char *>(data), clamped(length), 0);
}

int recvText(SocketHandle socket, std::span<char> buffer) noexcept
{
    if (refused(socket))
        return kSocketError;
    return receiveText(buffer, [socket](char *byte) { return ::recv(native(socket), byte, 1, 0); });
}

int shutdown(SocketHandle socket, ShutdownDirection direction) noexcept
{
    if (refused(socket))
        return kSocketError;
    if (direction == ShutdownDirection::Send)
        return ::shutdown(native(socket), SD_SEND);
    const int result = ::shutdown(native(socket), SD_BOTH);
    const int error = WSAGetLastError();
    // On Windows a shutdown does not always wake a receive that is already waiting.
    CancelIoEx(reinterpret_cast<HANDLE>(native(socket)), nullptr);
    WSASetLastError(error);
    return result;
}

int close(SocketHandle socket) noexcept
{
    if (refused(socket))
        return kSocketError;
    return ::closesocket(native(socket));
}

} // namespace zel::net
