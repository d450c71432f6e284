#pragma once

#include <cstdint>

namespace zel {

class LEvent;

/** Waits until the event is signalled, but no longer than the time; returns whether it was signalled. Every
 *  timed wait and pause of the library uses this function or the next, so that tests can replace the clock.
 */
bool waitFor(LEvent &event, std::uint32_t milliseconds);
void pauseFor(std::uint32_t milliseconds);

/** The event is null for a pause. */
using TimedWait = bool (*)(LEvent *event, std::uint32_t milliseconds);
/** For tests: replaces the clock; null brings back the system's. Any thread. */
void setTimedWait(TimedWait wait) noexcept;

} // namespace zel
