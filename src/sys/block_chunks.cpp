#include "sys/block_chunks.h"

#include "sys/virtual_memory.h"

#include <mutex>
#include <new>

namespace zel {

/** Opens a chunk; the parts follow. */
struct alignas(std::max_align_t) BlockChunk {
    std::size_t used;  // bytes from the chunk's start
    std::size_t parts; // in use
};

namespace {

constexpr std::size_t kChunkSize = 256 * 1024;

BlockChunk *s_current = nullptr; // parts are taken from here

/** Never destroyed, as a global mutex is on Windows: threads may be in here while the process ends. */
std::mutex &chunkLock()
{
    static auto *const s_lock = new std::mutex;
    return *s_lock;
}

constexpr std::size_t aligned(std::size_t size) noexcept
{
    return (size + alignof(std::max_align_t) - 1) & ~(alignof(std::max_align_t) - 1);
}

BlockChunk *newChunk()
{
    return new (mapPages(kChunkSize)) BlockChunk{sizeof(BlockChunk), 0};
}

} // namespace

ChunkPart takeFromChunk(std::size_t size)
{
    const std::size_t needed = aligned(size);
    const std::scoped_lock lock(chunkLock());
    if (s_current == nullptr || kChunkSize - s_current->used < needed)
        s_current = newChunk(); // the old one goes with the last of its parts
    std::uint8_t *const memory = reinterpret_cast<std::uint8_t *>(s_current) + s_current->used;
    s_current->used += needed;
    ++s_current->parts;
    return {memory, s_current};
}

void giveBackToChunk(BlockChunk *chunk) noexcept
{
    const std::scoped_lock lock(chunkLock());
    if (--chunk->parts > 0)
        return;
    // One chunk is kept: a block that comes and goes with each exchange must not map pages each time.
    if (chunk == s_current)
        chunk->used = sizeof(BlockChunk);
    else
        unmapPages(reinterpret_cast<std::uint8_t *>(chunk), kChunkSize);
}

} // namespace zel
