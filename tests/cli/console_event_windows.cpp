// Lets happen to a program what happens on Windows when its window is closed, at a logoff and at a shutdown,
// without any of these:
//
//   console_event EVENT SECONDS PROGRAM ARGUMENT...
//
// starts the program, has the system tell it the event after so many seconds, and ends as the program does,
// or with 137 when the event does not end it.
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

#include <windows.h>

namespace {

constexpr DWORD kLongestEndMilliseconds = 8000;
constexpr UINT kKilled = 137;
constexpr int kWrongUsage = 64;

struct Event {
    std::wstring_view name;
    DWORD number;
};
constexpr Event kEvents[] = {
    {L"CLOSE", CTRL_CLOSE_EVENT}, {L"LOGOFF", CTRL_LOGOFF_EVENT}, {L"SHUTDOWN", CTRL_SHUTDOWN_EVENT}};

const Event *eventNamed(std::wstring_view name)
{
    for (const Event &event : kEvents)
        if (event.name == name)
            return &event;
    return nullptr;
}

HANDLE start(std::wstring commandLine)
{
    STARTUPINFOW how{};
    how.cb = sizeof how;
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &how,
                        &started))
        return nullptr;
    CloseHandle(started.hThread);
    return started.hProcess;
}

/** As the system does it: a thread in the program begins at this function, which calls the program's
 * handlers. It lies at the same address in every process. */
bool tell(HANDLE program, const Event &event)
{
    void *const routine =
        reinterpret_cast<void *>(GetProcAddress(GetModuleHandleW(L"kernelbase.dll"), "CtrlRoutine"));
    const HANDLE thread =
        CreateRemoteThread(program, nullptr, 0, reinterpret_cast<LPTHREAD_START_ROUTINE>(routine),
                           reinterpret_cast<void *>(std::uintptr_t{event.number}), 0, nullptr);
    if (thread != nullptr)
        CloseHandle(thread);
    return routine != nullptr && thread != nullptr;
}

} // namespace

int wmain(int count, wchar_t **arguments)
{
    const Event *const event = count > 3 ? eventNamed(arguments[1]) : nullptr;
    if (event == nullptr)
        return kWrongUsage;
    std::wstring commandLine;
    for (int i = 3; i < count; ++i)
        commandLine += L"\"" + std::wstring(arguments[i]) + L"\" ";
    const HANDLE program = start(commandLine);
    if (program == nullptr)
        return kWrongUsage;
    Sleep(static_cast<DWORD>(std::stoul(arguments[2])) * 1000);
    if (!tell(program, *event) || WaitForSingleObject(program, kLongestEndMilliseconds) != WAIT_OBJECT_0)
        TerminateProcess(program, kKilled);
    WaitForSingleObject(program, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(program, &code);
    return static_cast<int>(code);
}
