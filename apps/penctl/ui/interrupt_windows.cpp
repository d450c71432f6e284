#include "ui/interrupt.h"

#include <cstdlib>
#include <windows.h>

#include "ui/interrupt_flag.h"

namespace penctl {

namespace {

/** The system calls this on a thread of its own. */
BOOL WINAPI onConsoleControl(DWORD event)
{
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        return FALSE;
    reportInterrupt();
    return TRUE;
}

} // namespace

Interrupt::Interrupt()
{
    forgetInterrupt();
    SetConsoleCtrlHandler(onConsoleControl, TRUE);
}

Interrupt::~Interrupt()
{
    SetConsoleCtrlHandler(onConsoleControl, FALSE);
}

void leaveNow(int exitCode)
{
    // ExitProcess would still run the exit handlers of the DLLs.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(exitCode));
    std::abort();
}

} // namespace penctl
