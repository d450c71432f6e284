#pragma once

#include <cstdint>

/** Holds the library's time as long as it lives: who waits for a time to pass waits until the test lets it
 *  pass, an event ends the wait as ever. One at a time; at its end nobody is held any more. */
class HeldClock
{
public:
    HeldClock();
    ~HeldClock();
    HeldClock(const HeldClock &) = delete;
    HeldClock &operator=(const HeldClock &) = delete;

    /** Whether a thread of the library comes to wait for exactly so long; it is given 20 seconds. */
    bool waitForWaiting(std::uint32_t milliseconds) const;
    /** Returns when those whose time is over have gone on. */
    void pass(std::uint32_t milliseconds);
};
