#include "sys/byte_block.h"

#include "sys/block_chunks.h"
#include "sys/virtual_memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace zel {

namespace {

#ifdef ZEL_SANITIZED
// Sanitizers watch the blocks of the C heap and no others.
constexpr std::size_t kChunkFrom = std::numeric_limits<std::size_t>::max();
constexpr std::size_t kPagesFrom = kChunkFrom;
#else
constexpr std::size_t kChunkFrom = 128;
constexpr std::size_t kPagesFrom = 32 * 1024;
#endif

/** Stands before every block. */
struct alignas(std::max_align_t) Header {
    BlockChunk *chunk; // of blocks that share one
    std::size_t size;  // of the block, which tells where the others live
};

Header *headerOf(std::uint8_t *block) noexcept
{
    return reinterpret_cast<Header *>(block) - 1;
}

bool isOnHeap(std::size_t size) noexcept
{
    return size < kChunkFrom;
}

bool hasOwnPages(std::size_t size) noexcept
{
    return size >= kPagesFrom;
}

std::size_t withHeader(std::size_t size)
{
    if (size > std::numeric_limits<std::size_t>::max() - sizeof(Header))
        throw std::bad_alloc();
    return size + sizeof(Header);
}

std::uint8_t *onHeap(std::size_t size)
{
    void *const memory = std::malloc(size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return static_cast<std::uint8_t *>(memory);
}

ByteBlock blockIn(std::uint8_t *memory, BlockChunk *chunk, std::size_t size) noexcept
{
    auto *const header = new (memory) Header{chunk, size};
    return ByteBlock(reinterpret_cast<std::uint8_t *>(header + 1));
}

void resizePages(ByteBlock &block, std::size_t size)
{
    const Header old = *headerOf(block.get());
    auto *const memory = reinterpret_cast<std::uint8_t *>(headerOf(block.get()));
    std::uint8_t *const moved = remapPages(memory, withHeader(old.size), withHeader(size));
    static_cast<void>(block.release());
    block = blockIn(moved, nullptr, size);
}

void resizeByCopy(ByteBlock &block, std::size_t size)
{
    ByteBlock other = allocateBlock(size);
    if (block)
        std::memcpy(other.get(), block.get(), std::min(size, headerOf(block.get())->size));
    block = std::move(other);
}

} // namespace

void FreeBlock::operator()(std::uint8_t *block) const noexcept
{
    Header *const header = headerOf(block);
    auto *const memory = reinterpret_cast<std::uint8_t *>(header);
    if (header->chunk != nullptr)
        giveBackToChunk(header->chunk);
    else if (hasOwnPages(header->size))
        unmapPages(memory, sizeof(Header) + header->size); // which did not overflow when it was mapped
    else
        std::free(memory);
}

ByteBlock allocateBlock(std::size_t size)
{
    const std::size_t needed = withHeader(size);
    if (isOnHeap(size))
        return blockIn(onHeap(needed), nullptr, size);
    if (hasOwnPages(size))
        return blockIn(mapPages(needed), nullptr, size);
    const ChunkPart part = takeFromChunk(needed);
    return blockIn(part.memory, part.chunk, size);
}

void resizeBlock(ByteBlock &block, std::size_t size)
{
    if (block && hasOwnPages(size) && hasOwnPages(headerOf(block.get())->size))
        resizePages(block, size);
    else
        resizeByCopy(block, size);
}

} // namespace zel
