#include "sys/byte_block.h"

#include <algorithm>
#include <new>

namespace zel {

ByteBlock allocateBlock(std::size_t size)
{
    ByteBlock block;
    resizeBlock(block, size);
    return block;
}

void resizeBlock(ByteBlock &block, std::size_t size)
{
    // At least 1: for 0 the C heap may free the block.
    void *const memory = std::realloc(block.get(), std::max<std::size_t>(size, 1));
    if (memory == nullptr)
        throw std::bad_alloc();
    static_cast<void>(block.release());
    block.reset(static_cast<std::uint8_t *>(memory));
}

} // namespace zel
