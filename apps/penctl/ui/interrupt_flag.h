#pragma once

namespace penctl {

/** What the platform's half of Interrupt reports to: from an ordinary thread, never from inside a signal
 * handler. */
void reportInterrupt();
void forgetInterrupt();

} // namespace penctl
