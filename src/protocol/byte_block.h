#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>

namespace zel {

struct FreeBlock {
    void operator()(std::uint8_t *block) const noexcept { std::free(block); }
};

/** An owned run of bytes. It lives on the C heap, because only there can a block grow in place. */
using ByteBlock = std::unique_ptr<std::uint8_t[], FreeBlock>;

/** A block of at least one byte with undefined contents; throws std::bad_alloc. */
inline ByteBlock allocateBlock(std::size_t size)
{
    ByteBlock block(static_cast<std::uint8_t *>(std::malloc(size == 0 ? 1 : size)));
    if (!block)
        throw std::bad_alloc();
    return block;
}

/** Keeps the contents as far as they fit. On std::bad_alloc the block stays as it was. */
inline void resizeBlock(ByteBlock &block, std::size_t size)
{
    auto *const grown = static_cast<std::uint8_t *>(std::realloc(block.get(), size));
    if (grown == nullptr)
        throw std::bad_alloc();
    static_cast<void>(block.release());
    block.reset(grown);
}

} // namespace zel
