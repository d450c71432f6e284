#pragma once

#include <functional>

namespace penctl {

/** Makes a library call that cannot be broken off on a thread of its own and waits for its end. False when
 * Ctrl-C comes first (an Interrupt must exist): the call then still runs, so the caller tidies up and ends
 * the process with leaveNow(). The connection to the pen ends with it. */
bool finishesBeforeInterrupt(std::function<void()> call);

} // namespace penctl
