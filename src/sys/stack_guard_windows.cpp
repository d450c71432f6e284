// What the compiler's stack protector needs on Windows: the guard value and two functions that it calls.
//
// The compiler's own library for this (libssp) draws the guard from ADVAPI32 and writes to the
// host's terminal when it fires. The library may need nothing but KERNEL32, the C runtime and
// WS2_32, and it never prints, so the three symbols that compiled code refers to stand here.

#include <cstdint>

#include <windows.h>

namespace {

// Ends the process at once. No handler of the host runs, because the stack cannot be trusted.
[[noreturn]] void failFast(std::uint32_t reason)
{
    asm volatile("int $0x29" : : "c"(reason) : "memory");
    __builtin_unreachable();
}

} // namespace

extern "C" {

/** Compared at the end of every protected function; set once, before any of them runs. */
std::uintptr_t __stack_chk_guard = 0;

/** A protected function found its frame overwritten. */
[[noreturn]] void __stack_chk_fail()
{
    failFast(FAST_FAIL_STACK_COOKIE_CHECK_FAILURE);
}

/** A fortified call (memcpy and its kin) would have written beyond its destination. */
[[noreturn]] void __chk_fail()
{
    failFast(FAST_FAIL_RANGE_CHECK_FAILURE);
}
}

namespace {

std::uint64_t mixed(std::uint64_t state, std::uint64_t value) noexcept
{
    state = (state ^ value) * 0x9e3779b97f4a7c15u;
    return state ^ (state >> 29);
}

// Seeds the guard from what Windows compilers commonly use: times, ids and addresses that differ from start
// to start. Runs before every other initialiser. This function itself must not be protected, because the
// guard changes while it runs.
[[gnu::constructor(101), gnu::no_stack_protector]] void seedStackGuard()
{
    LARGE_INTEGER counter;
    FILETIME time;
    QueryPerformanceCounter(&counter);
    GetSystemTimeAsFileTime(&time);

    std::uint64_t seed = mixed(0, static_cast<std::uint64_t>(counter.QuadPart));
    seed = mixed(seed, std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
    seed = mixed(seed, std::uint64_t{GetCurrentProcessId()} << 32 | GetCurrentThreadId());
    seed = mixed(seed, GetTickCount64());
    seed = mixed(seed, reinterpret_cast<std::uintptr_t>(&counter));
    seed = mixed(seed, reinterpret_cast<std::uintptr_t>(&__stack_chk_guard));

    // The lowest byte is zero, so that an overflowing text, which ends at its zero byte, cannot rewrite the
    // guard.
    __stack_chk_guard = seed & ~std::uint64_t{0xff};
}

} // namespace
