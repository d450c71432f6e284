#include "ui/interrupt.h"

#include <chrono>
#include <filesystem>
#include <thread>

#include <gtest/gtest.h>

#include "files/files.h"

namespace penctl {
namespace {

using testing::ExitedWithCode;

TEST(InterruptDeathTest, WithoutActionsItEndsWithItsOwnCode)
{
    EXPECT_EXIT(interrupt(), ExitedWithCode(130), "penctl: interrupted");
}

TEST(InterruptDeathTest, ActionsRunTheYoungestFirstAndTellWhatTheyDid)
{
    const OnInterrupt first([] { return "first"; });
    const OnInterrupt silent([] { return ""; });
    const OnInterrupt last([] { return "last"; });
    EXPECT_EXIT(interrupt(), ExitedWithCode(130), "penctl: interrupted; last; first");
}

TEST(InterruptDeathTest, ActionThatIsGoneIsNotRun)
{
    {
        const OnInterrupt gone([] { return "gone"; });
    }
    const OnInterrupt left([] { return "left"; });
    EXPECT_EXIT(interrupt(), ExitedWithCode(130), "penctl: interrupted; left");
}

TEST(InterruptDeathTest, TheYoungestActionDecidesTheExitCode)
{
    const OnInterrupt first([] { return ""; });
    const OnInterrupt last([] { return ""; }, 0);
    EXPECT_EXIT(interrupt(), ExitedWithCode(0), "");
}

TEST(InterruptDeathTest, ActionThatHangsIsNotWaitedFor)
{
    const OnInterrupt hanging([] {
        std::this_thread::sleep_for(std::chrono::hours(1));
        return "";
    });
    EXPECT_EXIT(interrupt(), ExitedWithCode(130), "");
}

TEST(InterruptDeathTest, UnfinishedFileIsRemovedThoughItIsOpen)
{
    const std::filesystem::path folder = "interrupt_test.dir";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
    EXPECT_EXIT(
        {
            AtomicFile file((folder / "out").string());
            interrupt();
        },
        ExitedWithCode(130), "penctl: interrupted; nothing was written");
    EXPECT_TRUE(std::filesystem::is_empty(folder));
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace penctl
