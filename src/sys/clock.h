#pragma once

#include <cstdint>

namespace zel {

class LEvent;

/** Whether the event was signalled within the time. Where the library waits for no longer than a while, it
 *  does so by this call and the next: tests put a clock of their own behind both. */
bool waitFor(LEvent &event, std::uint32_t milliseconds);
void pauseFor(std::uint32_t milliseconds);

/** A pause is a wait for no event. */
using TimedWait = bool (*)(LEvent *event, std::uint32_t milliseconds);
/** For tests; null gives the system's clock back. Any thread. */
void setTimedWait(TimedWait wait) noexcept;

} // namespace zel
