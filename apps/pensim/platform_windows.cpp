#include "platform.h"

// <windows.h> has to come before what needs it.
#include <windows.h>

#include <shellapi.h>

namespace pensim {

namespace {

std::string utf8(const wchar_t *text)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes.data(), size, nullptr, nullptr);
    bytes.resize(bytes.empty() ? 0 : bytes.size() - 1); // without the NUL
    return bytes;
}

// The console is the user's and stays open when the program has ended.
UINT g_outputCodePage = 0;
UINT g_inputCodePage = 0;

} // namespace

std::vector<std::string> programArguments(int count, char **texts)
{
    int wideCount = 0;
    wchar_t **const wide = CommandLineToArgvW(GetCommandLineW(), &wideCount);
    if (wide == nullptr)
        return {texts, texts + count};
    std::vector<std::string> arguments;
    for (int i = 0; i < wideCount; ++i)
        arguments.push_back(utf8(wide[i]));
    LocalFree(wide);
    return arguments;
}

void prepareConsole()
{
    g_outputCodePage = GetConsoleOutputCP();
    g_inputCodePage = GetConsoleCP();
    if (g_outputCodePage == 0 || g_inputCodePage == 0)
        return; // no console
    SetConsoleOutputCP(CP_UTF8);
    SetConsoleCP(CP_UTF8);
}

void leaveConsole()
{
    if (g_outputCodePage == 0 || g_inputCodePage == 0)
        return;
    SetConsoleOutputCP(g_outputCodePage);
    SetConsoleCP(g_inputCodePage);
}

bool mayReusePorts()
{
    return false;
}

} // namespace pensim
