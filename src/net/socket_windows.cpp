#include "net/socket.h"

#include "sys/log.h"

#include <algorithm>
#include <climits>

#include <winsock2.h>

namespace zel::net {

namespace {

/** Handles of the system fit into 32 bits. */
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

int connectOnce(SocketHandle socket, const sockaddr_in &address) noexcept
{
    return ::connect(native(socket), reinterpret_cast<const sockaddr *>(&address), sizeof address);
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
    const SOCKET created = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    return created == INVALID_SOCKET ? kNoSocket : static_cast<SocketHandle>(created);
}

int connect(SocketHandle socket, const Endpoint &endpoint) noexcept
{
    if (refused(socket))
        return kSocketError;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = endpoint.port;
    address.sin_addr.s_addr = endpoint.address;
    int result = connectOnce(socket, address);
    // On top of other systems' sockets one whose last attempt was refused may owe that attempt's error first.
    if (result != 0 && WSAGetLastError() == WSAECONNABORTED)
        result = connectOnce(socket, address);
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

int shutdown(SocketHandle socket, ShutdownDirection direction) noexcept
{
    if (refused(socket))
        return kSocketError;
    if (direction == ShutdownDirection::Send)
        return ::shutdown(native(socket), SD_SEND);
    const int result = ::shutdown(native(socket), SD_BOTH);
    const int error = WSAGetLastError();
    // A shutdown need not wake a receive that is already pending.
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
