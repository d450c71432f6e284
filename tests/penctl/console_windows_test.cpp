#include <windows.h>

#include <gtest/gtest.h>

#include "files/files.h"
#include "ui/terminal.h"

namespace penctl {
namespace {

/** A console for the time of a test, where the test program was started without one. */
class ConsoleTest : public testing::Test
{
protected:
    ConsoleTest() : m_own(AllocConsole() != 0) {}
    void SetUp() override
    {
        if (GetConsoleOutputCP() == 0)
            GTEST_SKIP() << "there is no console, as under an emulator without a terminal";
    }
    ~ConsoleTest() override
    {
        if (m_own)
            FreeConsole();
    }

private:
    bool m_own;
};

TEST_F(ConsoleTest, CodePageIsLeftAsItWas)
{
    ASSERT_TRUE(SetConsoleOutputCP(437));
    prepareConsole();
    EXPECT_EQ(GetConsoleOutputCP(), static_cast<UINT>(CP_UTF8));
    restoreConsole();
    EXPECT_EQ(GetConsoleOutputCP(), 437u);
}

TEST_F(ConsoleTest, ModeOfTheOutputIsLeftAsItWas)
{
    const HANDLE before = GetStdHandle(STD_OUTPUT_HANDLE);
    const HANDLE console =
        CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(console, INVALID_HANDLE_VALUE);
    SetStdHandle(STD_OUTPUT_HANDLE, console);
    DWORD mode = 0;
    ASSERT_TRUE(SetConsoleMode(console, ENABLE_PROCESSED_OUTPUT));
    prepareConsole();
    EXPECT_TRUE(GetConsoleMode(console, &mode));
    EXPECT_TRUE(mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    restoreConsole();
    EXPECT_TRUE(GetConsoleMode(console, &mode));
    EXPECT_EQ(mode, static_cast<DWORD>(ENABLE_PROCESSED_OUTPUT));
    SetStdHandle(STD_OUTPUT_HANDLE, before);
    CloseHandle(console);
}

TEST(DeviceNames, DevicesAreToldFromFiles)
{
    for (const wchar_t *name : {L"NUL", L"nul", L"con", L"COM1", L"lpt9.txt", L"folder\\AUX.dat", L"PRN ",
                                L"NUL:x", L"CONOUT$", L"COM\u00b9"})
        EXPECT_TRUE(isDeviceName(name)) << testing::PrintToString(std::wstring(name));
    for (const wchar_t *name : {L"null", L"COM", L"COM10", L"a.NUL", L"console", L"LPT", L"nul\\file"})
        EXPECT_FALSE(isDeviceName(name)) << testing::PrintToString(std::wstring(name));
}

} // namespace
} // namespace penctl
