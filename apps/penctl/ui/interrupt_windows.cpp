#include "ui/interrupt.h"

#include <cstdlib>
#include <windows.h>

namespace penctl {

namespace {

/** For Ctrl-C, Ctrl-Break, a closed window, logging off and shutting down. The system calls this on a thread
 * of its own and ends the process a few seconds after the last three, or as soon as this returns. */
BOOL WINAPI onConsoleControl(DWORD)
{
    interrupt();
}

} // namespace

void listenForInterrupts()
{
    SetConsoleCtrlHandler(onConsoleControl, TRUE);
}

void leaveNow(int exitCode)
{
    // ExitProcess would still run the exit handlers of the DLLs.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(exitCode));
    std::abort();
}

} // namespace penctl
