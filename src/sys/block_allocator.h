#pragma once

#include "sys/byte_block.h"

#include <cstddef>
#include <cstdint>
#include <new>

namespace zel {

/** Gives containers their memory, large blocks outside the C heap: a large request makes glibc's heap gather
 *  all its small free blocks first, and a tree of values is made of nothing but small blocks. */
template <class T>
struct BlockAllocator {
    using value_type = T;

    BlockAllocator() noexcept = default;
    template <class Other> // NOLINTNEXTLINE(google-explicit-constructor): containers convert it
    BlockAllocator(const BlockAllocator<Other> & /*other*/) noexcept
    {
    }

    T *allocate(std::size_t count)
    {
        const std::size_t size = count * sizeof(T); // within what a container can ask for
        void *const memory = isLarge(count) ? allocateBlock(size).release() : ::operator new(size);
        return static_cast<T *>(memory);
    }

    void deallocate(T *memory, std::size_t count) noexcept
    {
        if (isLarge(count))
            FreeBlock()(reinterpret_cast<std::uint8_t *>(memory));
        else
            ::operator delete(memory);
    }

    bool operator==(const BlockAllocator & /*other*/) const noexcept { return true; }

private:
    static_assert(alignof(T) <= alignof(std::max_align_t));

    static constexpr bool isLarge(std::size_t count) noexcept { return count >= 1024 / sizeof(T); }
};

} // namespace zel
