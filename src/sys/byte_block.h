#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace zel {

struct FreeBlock {
    void operator()(std::uint8_t *block) const noexcept { std::free(block); }
};

/** An owned run of bytes that can change its size. It lives on the C heap, which on Linux moves the pages of
 * a large block instead of copying it. Any thread. */
using ByteBlock = std::unique_ptr<std::uint8_t[], FreeBlock>;

/** A block with undefined contents; throws std::bad_alloc. */
ByteBlock allocateBlock(std::size_t size);

/** Keeps the contents as far as they fit. On std::bad_alloc the block stays as it was. */
void resizeBlock(ByteBlock &block, std::size_t size);

} // namespace zel
