#include "sys/virtual_memory.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace zel {

std::uint8_t *mapPages(std::size_t size)
{
    void *const pages = VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    if (pages == nullptr)
        throw std::bad_alloc();
    return static_cast<std::uint8_t *>(pages);
}

std::uint8_t *remapPages(std::uint8_t *pages, std::size_t size, std::size_t newSize)
{
    std::uint8_t *const moved = mapPages(newSize);
    std::memcpy(moved, pages, std::min(size, newSize));
    unmapPages(pages, size);
    return moved;
}

void unmapPages(std::uint8_t *pages, std::size_t) noexcept
{
    VirtualFree(pages, 0, MEM_RELEASE);
}

// On Windows large pages need a privilege that hosts do not have.
void preferLargePages(std::uint8_t *, std::size_t) noexcept {}

} // namespace zel
