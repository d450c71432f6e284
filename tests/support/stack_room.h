#pragma once

#include "sys/secure_wipe.h"

#include <cstddef>

/** Lets a test see what a call leaves on the dead part of the stack: the call is made far below the test,
 * where what the test does afterwards does not overwrite it. */
namespace zel::test {

inline constexpr std::size_t kStackRoom = 1 << 16;

template <class Call>
[[gnu::noinline]] auto callBelowStackRoom(const Call &call)
{
    char room[kStackRoom];
    secureWipe(room, 1); // by such calls the compiler keeps the room where it is, until it is over
    const auto result = call();
    secureWipe(room, 1);
    return result;
}

/** Wipes the room and what such calls, and the test's own before, have left below it. */
[[gnu::noinline]] inline void wipeStackRoom()
{
    char room[4 * kStackRoom];
    secureWipe(room, sizeof room);
    wipeStackBelow();
}

} // namespace zel::test
