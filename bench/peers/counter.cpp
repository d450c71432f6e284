// Preloaded into a client, this counts how often the process calls the C library to allocate, recv and send.
// The same run always gives the same counts.

#include <atomic>
#include <cstddef>
#include <cstdint>

#include <sys/socket.h>

extern "C" {

void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);

namespace {

std::atomic<std::uint64_t> s_allocations, s_receives, s_sends, s_emptySends;

void add(std::atomic<std::uint64_t> &count)
{
    count.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

#define ZEL_BENCH_INTERPOSED __attribute__((visibility("default")))

/** In the order of enum Count. */
ZEL_BENCH_INTERPOSED void zelBenchReadCounts(std::uint64_t *counts)
{
    counts[0] = s_allocations;
    counts[1] = s_receives;
    counts[2] = s_sends;
    counts[3] = s_emptySends;
}

ZEL_BENCH_INTERPOSED void *malloc(std::size_t size)
{
    add(s_allocations);
    return __libc_malloc(size);
}

ZEL_BENCH_INTERPOSED void *calloc(std::size_t count, std::size_t size)
{
    add(s_allocations);
    return __libc_calloc(count, size);
}

ZEL_BENCH_INTERPOSED void *realloc(void *block, std::size_t size)
{
    add(s_allocations);
    return __libc_realloc(block, size);
}

ZEL_BENCH_INTERPOSED void *aligned_alloc(std::size_t alignment, std::size_t size)
{
    add(s_allocations);
    return __libc_memalign(alignment, size);
}

ZEL_BENCH_INTERPOSED ssize_t recv(int socket, void *data, std::size_t length, int flags)
{
    add(s_receives);
    return recvfrom(socket, data, length, flags, nullptr, nullptr);
}

/** The compiler calls this in place of recv if it knows the size of the buffer. */
ZEL_BENCH_INTERPOSED ssize_t __recv_chk(int socket, void *data, std::size_t length, std::size_t, int flags)
{
    return recv(socket, data, length, flags);
}

ZEL_BENCH_INTERPOSED ssize_t send(int socket, const void *data, std::size_t length, int flags)
{
    add(s_sends);
    if (length == 0)
        add(s_emptySends);
    return sendto(socket, data, length, flags, nullptr, 0);
}

} // extern "C"
