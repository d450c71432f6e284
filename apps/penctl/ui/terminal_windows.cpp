#include "ui/terminal.h"

#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include "ui/interrupt.h"

namespace penctl {

namespace {

DWORD handleName(Stream stream)
{
    switch (stream) {
    case Stream::Input:
        return STD_INPUT_HANDLE;
    case Stream::Output:
        return STD_OUTPUT_HANDLE;
    case Stream::Error:
        return STD_ERROR_HANDLE;
    }
    return STD_ERROR_HANDLE;
}

HANDLE handleOf(Stream stream)
{
    return GetStdHandle(handleName(stream));
}

std::string toUtf8(const wchar_t *text, int length)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, length, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, length, utf8.data(), size, nullptr, nullptr);
    return utf8;
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

/** The console itself, also when standard input and output are redirected. */
class Console
{
public:
    explicit Console(const wchar_t *name)
        : m_handle(CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                               nullptr, OPEN_EXISTING, 0, nullptr))
    {
    }
    ~Console()
    {
        if (isOpen())
            CloseHandle(m_handle);
    }
    Console(const Console &) = delete;
    Console &operator=(const Console &) = delete;

    bool isOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    HANDLE handle() const { return m_handle; }

    void write(const std::string &text) const
    {
        DWORD written = 0;
        WriteConsoleA(m_handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    }

private:
    HANDLE m_handle;
};

/** Switches the echo of the console off, and back on however the prompt ends. */
class EchoOff
{
public:
    explicit EchoOff(HANDLE console) : m_console(console)
    {
        if (!GetConsoleMode(m_console, &m_before))
            return;
        m_onInterrupt.emplace([this] {
            restore();
            return std::string();
        });
        m_works = SetConsoleMode(m_console, (m_before | ENABLE_LINE_INPUT | ENABLE_PROCESSED_INPUT) &
                                                ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
    }
    ~EchoOff()
    {
        m_onInterrupt.reset();
        if (m_works)
            restore();
    }
    EchoOff(const EchoOff &) = delete;
    EchoOff &operator=(const EchoOff &) = delete;

    bool works() const { return m_works; }

private:
    void restore() const { SetConsoleMode(m_console, m_before); }

    HANDLE m_console;
    DWORD m_before = 0;
    bool m_works = false;
    std::optional<OnInterrupt> m_onInterrupt;
};

std::optional<std::string> readLine(HANDLE console)
{
    std::wstring line;
    for (;;) {
        wchar_t c = 0;
        DWORD count = 0;
        SetLastError(ERROR_SUCCESS);
        if (!ReadConsoleW(console, &c, 1, &count, nullptr) || count == 0) {
            // Ctrl-C ends the read just before the interruption begins on another thread, which ends the
            // process.
            if (GetLastError() == ERROR_OPERATION_ABORTED)
                Sleep(2000);
            return std::nullopt;
        }
        if (c == L'\n')
            return toUtf8(line.data(), static_cast<int>(line.size()));
        if (c != L'\r')
            line.push_back(c);
    }
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

std::optional<std::string> askLine(const std::string &prompt, Echo echo)
{
    const Console input(L"CONIN$");
    const Console output(L"CONOUT$");
    if (!input.isOpen() || !output.isOpen())
        return std::nullopt;
    const OnInterrupt leaveLine([&output] {
        output.write("\r\n");
        return std::string();
    });
    std::optional<EchoOff> silence;
    if (echo == Echo::Off && !silence.emplace(input.handle()).works())
        return std::nullopt;
    output.write(prompt);
    std::optional<std::string> line = readLine(input.handle());
    if (echo == Echo::Off)
        output.write("\r\n");
    return line;
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
