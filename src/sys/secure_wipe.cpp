#include "sys/secure_wipe.h"

namespace zel {

// Not inlined: only as a call of its own does its frame lie where the calls before it had theirs.
[[gnu::noinline]] void wipeStackBelow() noexcept
{
    std::array<std::uint8_t, 8192> room;
    secureWipe(room.data(), room.size());
}

} // namespace zel
