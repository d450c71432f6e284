// The build takes the names of the calls from here, and has the linker put these pointers in place of the
// imported ones: a call that the library begins to use takes one entry.
#include "failing_call.h"

#include <winsock2.h>

#include <windows.h>

namespace faults {

namespace {

constexpr CallFailure::Effect kNothing = CallFailure::Effect::Nothing;
constexpr CallFailure::Effect kFailure = CallFailure::Effect::Failure;

enum class Work { NotDone, Done };

/** The function that stands in place of another. Names tells the call's name, the system's function and the
 *  result that says failure. */
template <class Names, Work WorkOfFailed, class Function>
struct InPlace;

template <class Names, Work WorkOfFailed, class Result, class... Arguments>
struct InPlace<Names, WorkOfFailed, Result(WINAPI *)(Arguments...)> {
    static Result WINAPI call(Arguments... arguments)
    {
        if constexpr (WorkOfFailed == Work::Done) {
            const Result result = Names::system()(arguments...);
            return callFails(Names::kName) ? Names::failure() : result;
        }
        return callFails(Names::kName) ? Names::failure() : Names::system()(arguments...);
    }
};

} // namespace

// Winsock's errors and the system's others are one number of the thread.
void setCallError(int error) noexcept
{
    SetLastError(static_cast<DWORD>(error));
}

} // namespace faults

using namespace faults;

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier, bugprone-macro-parentheses, cppcoreguidelines-macro-usage)

#define ZEL_CALL_IN_PLACE(NAME, WORK, RESULT, ...)                                                           \
    [[maybe_unused]] static const bool s_added_##NAME = addCall(#NAME, {__VA_ARGS__});                       \
    extern "C" decltype(&::NAME) __real___imp_##NAME;                                                        \
    namespace {                                                                                              \
    struct Names_##NAME {                                                                                    \
        static constexpr const char *kName = #NAME;                                                          \
        static decltype(&::NAME) system() { return __real___imp_##NAME; }                                    \
        static auto failure() { return RESULT; }                                                             \
    };                                                                                                       \
    }                                                                                                        \
    extern "C" {                                                                                             \
    decltype(&::NAME) __wrap___imp_##NAME = InPlace<Names_##NAME, WORK, decltype(&::NAME)>::call;            \
    }

/** A call that has done nothing when it fails. RESULT says so to its caller. */
#define ZEL_FAILING_CALL(NAME, RESULT, ...) ZEL_CALL_IN_PLACE(NAME, Work::NotDone, RESULT, __VA_ARGS__)
/** A call that has done its work all the same. */
#define ZEL_FAILING_CALL_THAT_WORKS(NAME, RESULT, ...)                                                       \
    ZEL_CALL_IN_PLACE(NAME, Work::Done, RESULT, __VA_ARGS__)

// clang-format off
ZEL_FAILING_CALL(WSAStartup, lastCallError(),
    {WSASYSNOTREADY, kNothing}, {WSAEPROCLIM, kNothing})
ZEL_FAILING_CALL(WSASocketW, INVALID_SOCKET,
    {WSAEMFILE, kFailure}, {WSAENOBUFS, kFailure}, {WSAEACCES, kFailure}, {WSAENETDOWN, kFailure})
ZEL_FAILING_CALL(connect, SOCKET_ERROR,
    {WSAECONNABORTED, kNothing}, {WSAECONNREFUSED, kFailure}, {WSAETIMEDOUT, kFailure},
    {WSAEADDRNOTAVAIL, kFailure}, {WSAENETUNREACH, kFailure}, {WSAECONNRESET, kFailure}, {WSAENOBUFS, kFailure})
ZEL_FAILING_CALL(send, SOCKET_ERROR,
    {WSAECONNRESET, kFailure}, {WSAECONNABORTED, kFailure}, {WSAETIMEDOUT, kFailure}, {WSAENOBUFS, kFailure},
    {WSAENETRESET, kFailure}, {WSAESHUTDOWN, kFailure})
ZEL_FAILING_CALL(recv, SOCKET_ERROR,
    {WSAECONNRESET, kFailure}, {WSAECONNABORTED, kFailure}, {WSAETIMEDOUT, kFailure}, {WSAENOBUFS, kFailure},
    {WSAENETRESET, kFailure}, {WSAENETDOWN, kFailure})
ZEL_FAILING_CALL(shutdown, SOCKET_ERROR,
    {WSAENOTCONN, kNothing}, {WSAECONNRESET, kNothing})
ZEL_FAILING_CALL_THAT_WORKS(closesocket, SOCKET_ERROR,
    {WSAENETDOWN, kNothing}, {WSAECONNRESET, kNothing})
ZEL_FAILING_CALL(setsockopt, SOCKET_ERROR,
    {WSAENOPROTOOPT, kNothing}, {WSAENOBUFS, kNothing})
ZEL_FAILING_CALL(ioctlsocket, SOCKET_ERROR,
    {WSAENETDOWN, kFailure}, {WSAENOTSOCK, kFailure})
ZEL_FAILING_CALL(select, SOCKET_ERROR,
    {WSAENETDOWN, kFailure}, {WSAENOTSOCK, kFailure})
ZEL_FAILING_CALL(CancelIoEx, FALSE,
    {ERROR_NOT_FOUND, kNothing})
ZEL_FAILING_CALL(CreateEventW, nullptr,
    {ERROR_NOT_ENOUGH_MEMORY, kFailure}, {ERROR_NO_SYSTEM_RESOURCES, kFailure}, {ERROR_TOO_MANY_OPEN_FILES, kFailure})
ZEL_FAILING_CALL(CreateThread, nullptr,
    {ERROR_NOT_ENOUGH_MEMORY, kFailure}, {ERROR_MAX_THRDS_REACHED, kFailure}, {ERROR_ACCESS_DENIED, kFailure})
// clang-format on

// NOLINTEND(bugprone-reserved-identifier, bugprone-macro-parentheses, cppcoreguidelines-macro-usage)
