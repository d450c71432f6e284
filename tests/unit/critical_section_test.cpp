#include "sys/critical_section.h"

#include "sys/event.h"
#include "sys/thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using zel::threadsynch::CriticalSection;
using zel::threadsynch::CriticalSectionGuard;

TEST(CriticalSection, MayBeLockedAgainByTheSameThread)
{
    CriticalSection section;
    section.lock();
    section.lock();
    EXPECT_EQ(section.lockCount(), 2);
    section.unlock();
    section.unlock();
    EXPECT_EQ(section.lockCount(), 0);
}

// A host's stray unlock must not undo what the system holds: the count goes negative, no more.
TEST(CriticalSection, UnlockWithoutLockLeavesTheSystemsLockAlone)
{
    CriticalSection section;
    section.unlock();
    EXPECT_EQ(section.lockCount(), -1);
}

// After a stray unlock the count is one short: the last unlock of a pair leaves the system's lock alone too.
TEST(CriticalSection, UnlockBelowZeroKeepsOtherThreadsOut)
{
    static auto *const s_section = new CriticalSection; // stays locked
    static zel::LEvent s_trying(true, false);
    class Trying : public zel::LThread
    {
    public:
        Trying() : LThread(false) {}
        void run() override
        {
            s_trying.set();
            s_section->lock();
        }
    };
    s_section->unlock();
    s_section->lock();
    s_section->unlock();
    EXPECT_EQ(s_section->lockCount(), -1);
    Trying other;
    other.start();
    ASSERT_TRUE(s_trying.wait(20000));
    EXPECT_FALSE(other.finished().wait(100));
    // The thread waits for ever. It is not killed: ThreadSanitizer lets no signal into a thread that waits
    // for a lock.
}

TEST(CriticalSection, GuardUnlocksOnceAtItsEnd)
{
    CriticalSection section;
    {
        const CriticalSectionGuard guard(section);
        EXPECT_EQ(section.lockCount(), 1);
    }
    EXPECT_EQ(section.lockCount(), 0);
}

TEST(CriticalSection, GuardThatWasUnlockedDoesNotUnlockAgain)
{
    CriticalSection section;
    {
        CriticalSectionGuard guard(section);
        guard.unlock();
        EXPECT_EQ(section.lockCount(), 0);
    }
    EXPECT_EQ(section.lockCount(), 0);
}

TEST(CriticalSection, KeepsOtherThreadsOut)
{
    CriticalSection section;
    int counter = 0; // no atomic: the section guards it
    const auto count = [&] {
        for (int i = 0; i < 20000; ++i) {
            const CriticalSectionGuard guard(section);
            ++counter;
        }
    };
    std::thread other(count);
    count();
    other.join();
    EXPECT_EQ(counter, 40000);
}
