#include "ui/terminal.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include "ui/interrupt.h"

namespace penctl {

namespace {

HANDLE handleOf(Stream stream)
{
    // The standard handles are numbered downwards.
    return GetStdHandle(STD_INPUT_HANDLE - static_cast<DWORD>(stream));
}

HANDLE asHandle(intptr_t number)
{
    return reinterpret_cast<HANDLE>(number);
}

/** The console as prepareConsole() found it. */
struct ConsoleState {
    UINT codePage = 0;
    std::optional<DWORD> output;
    std::optional<DWORD> error;
};
ConsoleState s_before;

/** The stream's mode, if it is a console. */
std::optional<DWORD> understandEscapes(Stream stream)
{
    DWORD mode = 0;
    if (!GetConsoleMode(handleOf(stream), &mode))
        return std::nullopt;
    SetConsoleMode(handleOf(stream), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    return mode;
}

void restoreMode(Stream stream, const std::optional<DWORD> &mode)
{
    if (mode)
        SetConsoleMode(handleOf(stream), *mode);
}

/** The mode of the console whose echo is off. */
std::optional<DWORD> s_echoing;

intptr_t openConsole(const wchar_t *name)
{
    return reinterpret_cast<intptr_t>(CreateFileW(name, GENERIC_READ | GENERIC_WRITE,
                                                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                                  0, nullptr));
}

/** For Ctrl-C, Ctrl-Break, a closed window, logging off and shutting down. The system calls this on a thread
 * of its own and ends the process a few seconds after the last three, or as soon as this returns. */
BOOL WINAPI onConsoleControl(DWORD)
{
    interrupt();
}

} // namespace

void prepareConsole()
{
    s_before.codePage = GetConsoleOutputCP();
    SetConsoleOutputCP(CP_UTF8);
    s_before.output = understandEscapes(Stream::Output);
    s_before.error = understandEscapes(Stream::Error);
}

void restoreConsole()
{
    restoreMode(Stream::Error, s_before.error);
    restoreMode(Stream::Output, s_before.output);
    if (s_before.codePage != 0)
        SetConsoleOutputCP(s_before.codePage);
}

bool isTerminal(Stream stream)
{
    DWORD mode = 0;
    return GetConsoleMode(handleOf(stream), &mode) != 0;
}

std::size_t terminalWidth(Stream stream)
{
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!GetConsoleScreenBufferInfo(handleOf(stream), &info))
        return 80;
    const int columns = info.srWindow.Right - info.srWindow.Left + 1;
    return columns > 0 ? static_cast<std::size_t>(columns) : 80;
}

bool showsUnicode(Stream stream)
{
    return isTerminal(stream) && GetConsoleOutputCP() == CP_UTF8;
}

PromptTerminal::PromptTerminal() : m_input(openConsole(L"CONIN$")), m_output(openConsole(L"CONOUT$")) {}

PromptTerminal::~PromptTerminal()
{
    showTyping();
    for (const intptr_t console : {m_input, m_output})
        if (console != -1)
            CloseHandle(asHandle(console));
}

bool PromptTerminal::hideTyping() const
{
    DWORD mode = 0;
    if (!GetConsoleMode(asHandle(m_input), &mode))
        return false;
    s_echoing = mode;
    return SetConsoleMode(asHandle(m_input), (mode | ENABLE_LINE_INPUT | ENABLE_PROCESSED_INPUT) &
                                                 ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
}

void PromptTerminal::showTyping() const
{
    if (s_echoing)
        SetConsoleMode(asHandle(m_input), *s_echoing);
    s_echoing.reset();
}

void PromptTerminal::write(std::string_view text) const
{
    DWORD written = 0;
    WriteConsoleA(asHandle(m_output), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

void PromptTerminal::endLine() const
{
    write("\r\n");
}

std::optional<std::string> PromptTerminal::readLine() const
{
    std::wstring line;
    for (;;) {
        wchar_t c = 0;
        DWORD count = 0;
        SetLastError(ERROR_SUCCESS);
        if (!ReadConsoleW(asHandle(m_input), &c, 1, &count, nullptr) || count == 0) {
            // Ctrl-C ends the read just before the interruption begins on another thread, which ends the
            // process.
            if (GetLastError() == ERROR_OPERATION_ABORTED)
                Sleep(2000);
            return std::nullopt;
        }
        if (c == L'\n')
            break;
        if (c != L'\r')
            line.push_back(c);
    }
    const int length = static_cast<int>(line.size());
    const int size = WideCharToMultiByte(CP_UTF8, 0, line.data(), length, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, line.data(), length, utf8.data(), size, nullptr, nullptr);
    return utf8;
}

void makeStandardInputBinary()
{
    _setmode(_fileno(stdin), _O_BINARY);
}

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
