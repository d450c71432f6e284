#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace zel {

struct FreeBlock {
    void operator()(std::uint8_t *block) const noexcept;
};

/** An owned run of bytes. A retrieval holds thousands of them and lets go of them one by one while it
 *  fills the host's block, so all but small ones lie outside the C heap: their memory goes back to the
 *  system as they do, and the strokes are never in memory twice. Any thread. */
using ByteBlock = std::unique_ptr<std::uint8_t[], FreeBlock>;

/** A block with undefined contents; throws std::bad_alloc. */
ByteBlock allocateBlock(std::size_t size);

/** Keeps the contents as far as they fit. On std::bad_alloc the block stays as it was. */
void resizeBlock(ByteBlock &block, std::size_t size);

} // namespace zel
