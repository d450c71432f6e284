#include "sys/virtual_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <new>

namespace zel {

namespace {

std::uint8_t *requireMapped(void *pages)
{
    if (pages == MAP_FAILED)
        throw std::bad_alloc();
    return static_cast<std::uint8_t *>(pages);
}

} // namespace

std::uint8_t *mapPages(std::size_t size)
{
    // cppcheck-suppress invalidFunctionArg ; -1 is what anonymous memory asks for
    return requireMapped(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
}

std::uint8_t *remapPages(std::uint8_t *pages, std::size_t size, std::size_t newSize)
{
    return requireMapped(mremap(pages, size, newSize, MREMAP_MAYMOVE));
}

void unmapPages(std::uint8_t *pages, std::size_t size) noexcept
{
    munmap(pages, size);
}

void preferLargePages(std::uint8_t *memory, std::size_t size) noexcept
{
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t before = (page - reinterpret_cast<std::uintptr_t>(memory) % page) % page;
    if (size > before + page)
        madvise(memory + before, (size - before) / page * page, MADV_HUGEPAGE);
}

} // namespace zel
