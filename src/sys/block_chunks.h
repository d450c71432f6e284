#pragma once

#include <cstddef>
#include <cstdint>

/** Memory for blocks of middling size, one behind the other in chunks of pages. Blocks that came one
 *  after the other mostly go so too: a chunk goes back to the system with the last of its blocks.
 *  Any thread. */
namespace zel {

struct BlockChunk;

struct ChunkPart {
    std::uint8_t *memory; // aligned for any type
    BlockChunk *chunk;
};

/** At most a quarter of a chunk; throws std::bad_alloc. */
ChunkPart takeFromChunk(std::size_t size);
/** One part less in use. */
void giveBackToChunk(BlockChunk *chunk) noexcept;

} // namespace zel
