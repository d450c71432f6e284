#pragma once

#include <cstddef>
#include <cstdint>

/** Memory directly from the system, in whole pages: sizes are rounded up. Released pages go back to the
 * system at once. Memory of the C heap may stay with the process, namely while a later block is still in use.
 *  Any thread. */
namespace zel {

/** Throws std::bad_alloc. */
std::uint8_t *mapPages(std::size_t size);
/** Changes the size, keeps the contents as far as they fit, and may move them. Throws std::bad_alloc; the
 *  pages are then unchanged. */
std::uint8_t *remapPages(std::uint8_t *pages, std::size_t size, std::size_t newSize);
void unmapPages(std::uint8_t *pages, std::size_t size) noexcept;

/** Asks the system to use large pages for memory that is about to be filled. It is only a hint. The process
 *  may then hold up to one large page more than it uses. */
void preferLargePages(std::uint8_t *memory, std::size_t size) noexcept;

} // namespace zel
