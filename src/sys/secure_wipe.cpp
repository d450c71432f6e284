#include "sys/secure_wipe.h"

namespace zel {

// Kept out of line: only as a call of its own does it lie where the calls before it lay.
[[gnu::noinline]] void wipeStackBelow() noexcept
{
    std::array<std::uint8_t, 8192> room;
    secureWipe(room.data(), room.size());
}

} // namespace zel
