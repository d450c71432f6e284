#pragma once

#include <functional>
#include <string>

#include "failure.h"

namespace penctl {

/** An action to run on Ctrl-C, and on the other signals and events by which a platform asks a program to end.
 *
 *  All commands are interrupted in one way: whatever the command is at, another thread runs the actions that
 *  are registered at that moment, tells the user, and ends the process. The command itself notices nothing,
 * so its waits need not be broken off. Nothing that hangs in an action delays the end for more than a second.
 */
class OnInterrupt
{
public:
    /** Registers an action. It runs on a thread of its own while the command goes on, the youngest action
     *  first, and returns what is to be told about it, or an empty text. The process then ends with the exit
     *  code of the youngest action. */
    explicit OnInterrupt(std::function<std::string()> action, int exitCode = kInterrupted);

    /** Does not return once the program has been interrupted: what the action uses lives as long as it runs.
     */
    ~OnInterrupt();
    OnInterrupt(const OnInterrupt &) = delete;
    OnInterrupt &operator=(const OnInterrupt &) = delete;

    const std::function<std::string()> action;
    const int exitCode;
};

/** Begins to listen for requests to end. To be called before any other thread exists, so that all of them
 *  leave these requests to it. A request that the parent process chose to ignore stays ignored. */
void listenForInterrupts();

/** Runs the actions and ends the process. The platform's half calls it, from an ordinary thread. */
[[noreturn]] void interrupt();

/** Call at the end of main(). Later requests to end have no effect; if one came before, this does not return.
 */
void endInterrupts();

/** Ends the process at once: no destructor and no exit handler runs, so a thread that is still inside a
 *  library call is no trouble. */
[[noreturn]] void leaveNow(int exitCode);

} // namespace penctl
