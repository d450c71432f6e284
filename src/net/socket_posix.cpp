#include "net/socket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <utility>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zel::net {

namespace {

struct ErrorPair {
    int system;
    int winsock;
};

constexpr int kErrorInvalidArgument = 10022;

// A handle that is no open socket is "not a socket" to Winsock, be it closed or never valid.
constexpr std::array kErrors{
    ErrorPair{EINTR, 10004},
    ErrorPair{EACCES, 10013},
    ErrorPair{EPERM, 10013},
    ErrorPair{EFAULT, 10014},
    ErrorPair{EINVAL, kErrorInvalidArgument},
    ErrorPair{EMFILE, 10024},
    ErrorPair{ENFILE, 10024},
    ErrorPair{EAGAIN, 10035},
    ErrorPair{EINPROGRESS, 10036},
    ErrorPair{EALREADY, 10037},
    ErrorPair{EBADF, kErrorNotSocket},
    ErrorPair{ENOTSOCK, kErrorNotSocket},
    ErrorPair{EDESTADDRREQ, 10039},
    ErrorPair{EMSGSIZE, 10040},
    ErrorPair{EPROTOTYPE, 10041},
    ErrorPair{ENOPROTOOPT, 10042},
    ErrorPair{EPROTONOSUPPORT, 10043},
    ErrorPair{ESOCKTNOSUPPORT, 10044},
    ErrorPair{EOPNOTSUPP, 10045},
    ErrorPair{EPFNOSUPPORT, 10046},
    ErrorPair{EAFNOSUPPORT, 10047},
    ErrorPair{EADDRINUSE, 10048},
    ErrorPair{EADDRNOTAVAIL, 10049},
    ErrorPair{ENETDOWN, 10050},
    ErrorPair{ENETUNREACH, 10051},
    ErrorPair{ENETRESET, 10052},
    ErrorPair{ECONNABORTED, kErrorConnectionAborted},
    ErrorPair{ECONNRESET, kErrorConnectionReset},
    ErrorPair{ENOBUFS, 10055},
    ErrorPair{ENOMEM, 10055},
    ErrorPair{EISCONN, kErrorAlreadyConnected},
    ErrorPair{ENOTCONN, kErrorNotConnected},
    ErrorPair{ESHUTDOWN, kErrorShutDown},
    ErrorPair{EPIPE, kErrorShutDown},
    ErrorPair{ETOOMANYREFS, 10059},
    ErrorPair{ETIMEDOUT, 10060},
    ErrorPair{ECONNREFUSED, kErrorConnectionRefused},
    ErrorPair{EHOSTDOWN, 10064},
    ErrorPair{EHOSTUNREACH, 10065},
};

/** Handle 0 stands for "no socket" but is a descriptor here, mostly somebody's standard input. */
bool refused(SocketHandle socket) noexcept
{
    if (socket == kNoSocket)
        errno = ENOTSOCK;
    return socket == kNoSocket;
}

template <class Call>
auto repeatedWhenInterrupted(Call call) noexcept
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

int connectOnce(SocketHandle socket, const sockaddr_in &address) noexcept
{
    // After an interruption the system goes on connecting; asking again waits for the outcome.
    return repeatedWhenInterrupted(
        [&] { return ::connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address); });
}

/** EPIPE does not tell who ended the connection: here, by a shutdown, or the peer, by a reset. */
int reasonOfBrokenPipe(SocketHandle socket) noexcept
{
    tcp_info info{};
    socklen_t size = sizeof info;
    const bool known = ::getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) == 0;
    return known && info.tcpi_state == TCP_CLOSE ? ECONNRESET : ESHUTDOWN;
}

} // namespace

void startUp() {}

void cleanUp() noexcept {}

int lastError() noexcept
{
    const int error = errno;
    const auto *const found = std::find_if(kErrors.begin(), kErrors.end(),
                                           [&](const ErrorPair &pair) { return pair.system == error; });
    return found == kErrors.end() ? kErrorInvalidArgument : found->winsock;
}

SocketHandle createTcpSocket() noexcept
{
    const int handle = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
    if (handle < 0)
        return kNoSocket;
    if (handle != kNoSocket)
        return handle;
    const int other = ::fcntl(handle, F_DUPFD_CLOEXEC, 1);
    ::close(handle);
    return std::max(other, kNoSocket);
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
    // A socket whose last attempt was refused may owe that attempt's error first.
    if (result != 0 && errno == ECONNABORTED)
        result = connectOnce(socket, address);
    return result;
}

void setNoDelay(SocketHandle socket) noexcept
{
    const int on = 1;
    if (!refused(socket))
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

int send(SocketHandle socket, const void *data, std::size_t length) noexcept
{
    if (refused(socket))
        return kSocketError;
    const std::size_t count = std::min<std::size_t>(length, INT_MAX);
    const auto sent = repeatedWhenInterrupted([&] { return ::send(socket, data, count, MSG_NOSIGNAL); });
    if (sent < 0 && errno == EPIPE)
        errno = reasonOfBrokenPipe(socket);
    return static_cast<int>(sent);
}

int recv(SocketHandle socket, void *data, std::size_t length) noexcept
{
    if (refused(socket))
        return kSocketError;
    const std::size_t count = std::min<std::size_t>(length, INT_MAX);
    return static_cast<int>(repeatedWhenInterrupted([&] { return ::recv(socket, data, count, 0); }));
}

int shutdown(SocketHandle socket, ShutdownDirection direction) noexcept
{
    if (refused(socket))
        return kSocketError;
    return ::shutdown(socket, direction == ShutdownDirection::Both ? SHUT_RDWR : SHUT_WR);
}

int close(SocketHandle socket) noexcept
{
    if (refused(socket))
        return kSocketError;
    // An interrupted close has closed the descriptor all the same.
    return ::close(socket) == 0 || errno == EINTR ? 0 : kSocketError;
}

} // namespace zel::net
