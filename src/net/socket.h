#pragma once

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>

/** The platform's TCP sockets behind one contract. Errors carry Winsock's numbers on both platforms.
 *  Every call on kNoSocket fails with kErrorNotSocket. Any thread; shutdown() is the one call meant
 *  to meet another on the same socket. */
namespace zel::net {

/** A socket handle as messages print it, with "%d". kNoSocket (0) stands for none. */
using SocketHandle = std::int32_t;
inline constexpr SocketHandle kNoSocket = 0;
inline constexpr int kSocketError = -1;

inline constexpr int kErrorInterrupted = 10004;
inline constexpr int kErrorNotSocket = 10038;
inline constexpr int kErrorConnectionAborted = 10053;
inline constexpr int kErrorConnectionReset = 10054;
inline constexpr int kErrorAlreadyConnected = 10056;
inline constexpr int kErrorNotConnected = 10057;
inline constexpr int kErrorShutDown = 10058;
inline constexpr int kErrorConnectionRefused = 10061;

enum class ShutdownDirection { Send, Both };

/** An IPv4 endpoint; both members are in network byte order. */
struct Endpoint {
    std::uint32_t address = 0;
    std::uint16_t port = 0;
};

constexpr std::uint16_t toNetworkOrder(std::uint16_t value) noexcept
{
    if constexpr (std::endian::native == std::endian::big)
        return value;
    return static_cast<std::uint16_t>(value << 8 | value >> 8);
}

constexpr std::uint32_t toNetworkOrder(std::uint32_t value) noexcept
{
    if constexpr (std::endian::native == std::endian::big)
        return value;
    return value << 24 | (value & 0xff00) << 8 | (value >> 8 & 0xff00) | value >> 24;
}

/** "127.0.0.1" */
std::string dottedAddress(std::uint32_t networkOrderAddress);

/** Asks for Winsock 2.0 (nothing to do elsewhere). A failure is only logged: the next socket call
 *  fails and is reported there. */
void startUp();
void cleanUp() noexcept;

/** The calling thread's last socket error, as Winsock numbers it. */
int lastError() noexcept;

/** kNoSocket on failure. */
SocketHandle createTcpSocket() noexcept;
/** 0, or kSocketError. */
int connect(SocketHandle socket, const Endpoint &endpoint) noexcept;
/** The same, but a connect that has to wait gives up (kErrorInterrupted) soon after the flag is set, also
 * when it was before the call. The socket is good for closing only then. */
int connect(SocketHandle socket, const Endpoint &endpoint, const std::atomic<bool> &stop) noexcept;
/** Switches off the delay of small segments; a failure is ignored. */
void setNoDelay(SocketHandle socket) noexcept;
/** All of the bytes, at most INT_MAX, or kSocketError. Never raises SIGPIPE. */
int send(SocketHandle socket, const void *data, std::size_t length) noexcept;
/** Bytes received, 0 when the peer closed in order, or kSocketError. */
int recv(SocketHandle socket, void *data, std::size_t length) noexcept;
/** Wakes calls that are pending on the socket, also where the platform's own shutdown does not. */
int shutdown(SocketHandle socket, ShutdownDirection direction) noexcept;
int close(SocketHandle socket) noexcept;

} // namespace zel::net
