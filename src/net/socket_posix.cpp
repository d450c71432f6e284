#include "net/receive_text.h"
#include "net/socket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <utility>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zel::net {

namespace {

struct ErrorPair {
    int system;
    int winsock;
};

constexpr int kErrorInvalidArgument = 10022;
constexpr int kStopCheckMilliseconds = 50;

// Winsock reports "not a socket" for a handle that was closed as well as for one that never was a socket.
constexpr std::array kErrors{
    ErrorPair{EINTR, kErrorInterrupted},
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

/** Handle 0 means "no socket". On POSIX systems 0 is a valid descriptor, usually standard input, so it must
 *  not be used. */
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
    // After a signal interrupts connect(), the system goes on connecting. A second call waits for the result.
    return repeatedWhenInterrupted(
        [&] { return ::connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address); });
}

sockaddr_in addressOf(const Endpoint &endpoint) noexcept
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = endpoint.port;
    address.sin_addr.s_addr = endpoint.address;
    return address;
}

/** Connects. If the last attempt on this socket was refused, connect() may first report that old error; then
 *  tries again. */
template <class Attempt>
int connectInTwo(Attempt attempt) noexcept
{
    const int result = attempt();
    return result != 0 && errno == ECONNABORTED ? attempt() : result;
}

bool setBlocking(SocketHandle socket, bool blocking) noexcept
{
    int nonBlocking = blocking ? 0 : 1;
    return ::ioctl(socket, FIONBIO, &nonBlocking) == 0;
}

/** Whether a pending connect has finished. The caller calls connect() again to get its result. */
bool awaitConnect(SocketHandle socket, const std::atomic<bool> &stop) noexcept
{
    pollfd entry{socket, POLLOUT, 0};
    int ended = 0;
    while (ended == 0 && !stop)
        ended = repeatedWhenInterrupted([&] { return ::poll(&entry, 1, kStopCheckMilliseconds); });
    if (ended == 0)
        errno = EINTR;
    return ended > 0;
}

/** EPIPE does not say who ended the connection: this side by a shutdown, or the peer by a reset. */
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
    const sockaddr_in address = addressOf(endpoint);
    return connectInTwo([&] { return connectOnce(socket, address); });
}

int connect(SocketHandle socket, const Endpoint &endpoint, const std::atomic<bool> &stop) noexcept
{
    if (refused(socket) || !setBlocking(socket, false))
        return kSocketError;
    const sockaddr_in address = addressOf(endpoint);
    const int result = connectInTwo([&] {
        const int begun = connectOnce(socket, address);
        if (begun == 0 || errno != EINPROGRESS)
            return begun;
        return awaitConnect(socket, stop) ? connectOnce(socket, address) : kSocketError;
    });
    const int error = errno;
    if (!setBlocking(socket, true))
        return kSocketError;
    errno = error;
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
    const auto *const bytes = static_cast<const char *>(data);
    const std::size_t count = std::min<std::size_t>(length, INT_MAX);
    std::size_t taken = 0;
    // A signal that arrives after a part was sent ends the call early, even with SA_RESTART.
    do {
        const auto sent = repeatedWhenInterrupted(
            [&] { return ::send(socket, bytes + taken, count - taken, MSG_NOSIGNAL); });
        if (sent < 0 && errno == EPIPE)
            errno = reasonOfBrokenPipe(socket);
        if (sent < 0)
            return kSocketError;
        taken += static_cast<std::size_t>(sent);
    } while (taken < count);
    return static_cast<int>(taken);
}

int recv(SocketHandle socket, void *data, std::size_t length) noexcept
{
    if (refused(socket))
        return kSocketError;
    const std::size_t count = std::min<std::size_t>(length, INT_MAX);
    const auto received = ::recv(socket, data, count, 0);
    return received < 0 && errno == EINTR ? recv(socket, data, length) : static_cast<int>(received);
}

int recvText(SocketHandle socket, std::span<char> buffer) noexcept
{
    if (refused(socket))
        return kSocketError;
    return receiveText(buffer, [socket](char *byte) {
        return static_cast<int>(repeatedWhenInterrupted([&] { return ::recv(socket, byte, 1, 0); }));
    });
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
    // Even when close() is interrupted, the descriptor is closed.
    return ::close(socket) == 0 || errno == EINTR ? 0 : kSocketError;
}

} // namespace zel::net
