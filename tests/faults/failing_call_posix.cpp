// The build takes the names of the calls from here, and has the linker put these functions in their place:
// a call that the library begins to use takes one entry.
#include "failing_call.h"

#include <cerrno>

#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace faults {

namespace {

constexpr CallFailure::Effect kNothing = CallFailure::Effect::Nothing;
/** No error: the call transfers only a part, as when a signal interrupts it. */
constexpr int kPart = 0;

constexpr CallFailure::Effect kFailure = CallFailure::Effect::Failure;

} // namespace

void setCallError(int error) noexcept
{
    errno = error;
}

} // namespace faults

using namespace faults;

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier, bugprone-macro-parentheses, cppcoreguidelines-macro-usage)

/** A call that has done nothing when it fails. RESULT says so to its caller. */
#define ZEL_FAILING_CALL(TYPE, NAME, PARAMETERS, ARGUMENTS, RESULT, ...)                                     \
    [[maybe_unused]] static const bool s_added_##NAME = addCall(#NAME, {__VA_ARGS__});                       \
    extern "C" TYPE __real_##NAME PARAMETERS;                                                                \
    extern "C" TYPE __wrap_##NAME PARAMETERS                                                                 \
    {                                                                                                        \
        return callFails(#NAME) ? (RESULT) : __real_##NAME ARGUMENTS;                                        \
    }

/** A call that has done its work all the same. */
#define ZEL_FAILING_CALL_THAT_WORKS(TYPE, NAME, PARAMETERS, ARGUMENTS, RESULT, ...)                          \
    [[maybe_unused]] static const bool s_added_##NAME = addCall(#NAME, {__VA_ARGS__});                       \
    extern "C" TYPE __real_##NAME PARAMETERS;                                                                \
    extern "C" TYPE __wrap_##NAME PARAMETERS                                                                 \
    {                                                                                                        \
        const TYPE result = __real_##NAME ARGUMENTS;                                                         \
        return callFails(#NAME) ? (RESULT) : result;                                                         \
    }

// clang-format off
ZEL_FAILING_CALL(int, socket, (int domain, int type, int protocol), (domain, type, protocol), -1,
    {EMFILE, kFailure}, {ENFILE, kFailure}, {ENOBUFS, kFailure}, {ENOMEM, kFailure}, {EACCES, kFailure})
ZEL_FAILING_CALL(int, connect, (int socket, const sockaddr *address, socklen_t size), (socket, address, size), -1,
    {EINTR, kNothing}, {ECONNABORTED, kNothing}, {ECONNREFUSED, kFailure}, {ETIMEDOUT, kFailure},
    {EADDRNOTAVAIL, kFailure}, {ENETUNREACH, kFailure}, {ECONNRESET, kFailure}, {ENOBUFS, kFailure})
ZEL_FAILING_CALL(ssize_t, send, (int socket, const void *data, std::size_t size, int flags), (socket, data, size, flags),
    lastCallError() == kPart ? __real_send(socket, data, (size + 1) / 2, flags) : -1,
    {EINTR, kNothing}, {kPart, kNothing}, {ECONNRESET, kFailure}, {EPIPE, kFailure}, {ETIMEDOUT, kFailure},
    {ENOBUFS, kFailure}, {ENOMEM, kFailure}, {ENETUNREACH, kFailure})
ZEL_FAILING_CALL(ssize_t, recv, (int socket, void *data, std::size_t size, int flags), (socket, data, size, flags),
    lastCallError() == kPart ? __real_recv(socket, data, (size + 1) / 2, flags) : -1,
    {EINTR, kNothing}, {kPart, kNothing}, {ECONNRESET, kFailure}, {ECONNABORTED, kFailure}, {ETIMEDOUT, kFailure},
    {ENOBUFS, kFailure}, {ENOMEM, kFailure}, {ENETUNREACH, kFailure})
ZEL_FAILING_CALL(int, shutdown, (int socket, int how), (socket, how), -1,
    {ENOTCONN, kNothing}, {ENOBUFS, kNothing})
ZEL_FAILING_CALL_THAT_WORKS(int, close, (int descriptor), (descriptor), -1,
    {EINTR, kNothing}, {EIO, kNothing})
ZEL_FAILING_CALL(int, setsockopt, (int socket, int level, int name, const void *value, socklen_t size),
    (socket, level, name, value, size), -1,
    {ENOPROTOOPT, kNothing}, {ENOBUFS, kNothing})
ZEL_FAILING_CALL(int, getsockopt, (int socket, int level, int name, void *value, socklen_t *size),
    (socket, level, name, value, size), -1,
    {ENOBUFS, kFailure})
ZEL_FAILING_CALL(int, poll, (pollfd *entries, nfds_t count, int milliseconds), (entries, count, milliseconds), -1,
    {EINTR, kNothing})
ZEL_FAILING_CALL(int, eventfd, (unsigned initially, int flags), (initially, flags), -1,
    {EMFILE, kFailure}, {ENFILE, kFailure}, {ENOMEM, kFailure})
ZEL_FAILING_CALL(int, pthread_create, (pthread_t *thread, const pthread_attr_t *attributes, void *(*body)(void *), void *argument),
    (thread, attributes, body, argument), lastCallError(),
    {EAGAIN, kFailure}, {EPERM, kFailure})
// clang-format on

// NOLINTEND(bugprone-reserved-identifier, bugprone-macro-parentheses, cppcoreguidelines-macro-usage)
