#!/usr/bin/env bash
# Whether every call that the library makes to the system is one that the tests make fail, or one that cannot
# fail in a way that matters. Run in the root of the tree, after both platforms were built.
source "$(dirname "$0")/cases.sh"

# entries FILE PATTERN: the calls with an entry in tests/faults, whose names the pattern finds
entries() { sed -nE "s/^ZEL_FAILING_CALL[A-Z_]*\($2,.*/\1/p" "tests/faults/$1"; }

made_on_linux() {
    find build/native/src -name '*.o' -exec nm --undefined-only {} + 2>/dev/null |
        awk '$1 == "U" && $2 !~ /^(_Z|_Unwind|_GLOBAL|__(cxa|gxx|cpu|stack|errno|tls)_?)|_chk$|^zel/ { print $2 }' | sort -u
}
made_on_windows() {
    find build/windows/src -name '*.obj' -exec x86_64-w64-mingw32-nm --undefined-only {} + 2>/dev/null |
        sed -n 's/^ *U __imp_//p' | sort -u
}

# Memory has tests of its own; the others act on what the library owns, or only ask. A descriptor is
# duplicated only where a host has closed its standard input. On Windows getsockopt only tells why a connect has
# failed already.
without_entry_on_linux='
free malloc memchr memcmp memcpy memmove memset realloc strlen strtoll
eventfd_read eventfd_write fcntl nanosleep
pthread_detach pthread_join pthread_kill pthread_mutex_lock pthread_mutex_unlock pthread_self
pthread_setcancelstate pthread_sigmask sigaction sigaddset sigdelset sigemptyset sigsuspend
ioctl'
without_entry_on_windows='
CloseHandle DeleteCriticalSection EnterCriticalSection InitializeCriticalSection LeaveCriticalSection
GetCurrentProcessId GetCurrentThreadId GetSystemTimeAsFileTime GetTickCount64 QueryPerformanceCounter
ResetEvent SetEvent Sleep TerminateThread WaitForSingleObject
GetModuleHandleExW WSACleanup WSAGetLastError WSASetLastError
getsockopt'

expect "Linux: each call to the system is made to fail" within "$(made_on_linux)" \
    "$(entries failing_call_posix.cpp '[a-z_]+, ([a-z_]+)'; tr ' ' '\n' <<<"$without_entry_on_linux")"
expect "Windows: each call to the system is made to fail" within "$(made_on_windows)" \
    "$(entries failing_call_windows.cpp '([A-Za-z]+)'; tr ' ' '\n' <<<"$without_entry_on_windows")"

end_cases
