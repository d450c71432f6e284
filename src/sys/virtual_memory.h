#pragma once

#include <cstddef>
#include <cstdint>

/** Memory straight from the system. It goes back at once when it is released, whatever else is in use:
 *  memory of the C heap stays with the process while anything behind it is. Any thread; sizes are
 *  rounded up to whole pages. */
namespace zel {

/** Throws std::bad_alloc. */
std::uint8_t *mapPages(std::size_t size);
/** Keeps the contents as far as they fit, not always in the same place. Throws std::bad_alloc; the pages
 *  then stay as they were. */
std::uint8_t *remapPages(std::uint8_t *pages, std::size_t size, std::size_t newSize);
void unmapPages(std::uint8_t *pages, std::size_t size) noexcept;

/** A hint, for memory of any kind that is about to be filled: the system may back it with large pages.
 *  Up to one large page more than is in use may then be held. */
void preferLargePages(std::uint8_t *memory, std::size_t size) noexcept;

} // namespace zel
