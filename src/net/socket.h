#pragma once

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

/** TCP sockets, with the same functions on both platforms. Errors have Winsock's numbers on both. Every call
 *  with kNoSocket fails with kErrorNotSocket. Any thread. Only shutdown() may be called while another thread
 *  is in a call on the same socket. */
namespace zel::net {

/** A socket handle; log texts print it with "%d". kNoSocket (0) means no socket. */
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

/** The address as text: "127.0.0.1". */
std::string dottedAddress(std::uint32_t networkOrderAddress);

/** Starts Winsock 2.0; does nothing on other systems. A failure is only logged, because the next socket call
 *  then fails and is reported. */
void startUp();
void cleanUp() noexcept;

/** The calling thread's last socket error, with Winsock's number. */
int lastError() noexcept;

/** Returns kNoSocket on failure. */
SocketHandle createTcpSocket() noexcept;
/** Returns 0, or kSocketError. */
int connect(SocketHandle socket, const Endpoint &endpoint) noexcept;
/** The same, but gives up with kErrorInterrupted soon after the flag is set, or at once if it is set already.
 *  The socket can then only be closed. */
int connect(SocketHandle socket, const Endpoint &endpoint, const std::atomic<bool> &stop) noexcept;
/** Sets TCP_NODELAY, so that small segments are sent without delay. A failure is ignored. */
void setNoDelay(SocketHandle socket) noexcept;
/** Sends all bytes, but at most INT_MAX. Returns how many, or kSocketError. Never raises SIGPIPE. */
int send(SocketHandle socket, const void *data, std::size_t length) noexcept;
/** Returns the number of bytes received, 0 when the peer closed the connection, or kSocketError. */
int recv(SocketHandle socket, void *data, std::size_t length) noexcept;
/** Receives a text up to its NUL, byte by byte, so that no byte of the next text is taken. Of a text that
 * does not fit the buffer the rest is dropped. Returns the length with the NUL, 0 when the peer closed the
 *  connection before, or kSocketError. */
int recvText(SocketHandle socket, std::span<char> buffer) noexcept;
/** Also wakes other threads that are blocked in a call on the socket, even where the platform's own shutdown
 *  does not. */
int shutdown(SocketHandle socket, ShutdownDirection direction) noexcept;
int close(SocketHandle socket) noexcept;

} // namespace zel::net
