#pragma once

#include <chrono>

namespace penctl {

/** While one of these exists, Ctrl-C (and the platform's polite request to end) does not end the program but
 * is remembered; pressed once more, it ends the program at once. To be created before any other thread, so
 * that all threads leave the key press to it; one at a time. */
class Interrupt
{
public:
    Interrupt();
    ~Interrupt();
    Interrupt(const Interrupt &) = delete;
    Interrupt &operator=(const Interrupt &) = delete;

    /** Whether it has been pressed. Any thread may ask. */
    static bool requested();

    /** Sleeps for the time given, or until it is pressed; whether it has been. */
    static bool waitFor(std::chrono::milliseconds time);
};

/** Ends the process at once: no destructor and no exit handler runs, so a thread that is still inside a
 * library call is no trouble. */
[[noreturn]] void leaveNow(int exitCode);

} // namespace penctl
