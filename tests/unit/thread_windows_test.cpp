#include "sys/thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <utility>

#include <windows.h>

#include <winternl.h>

using zel::LEvent;
using zel::LThread;

namespace {

class BodyThread : public LThread
{
public:
    explicit BodyThread(std::function<void()> body) : LThread(false), m_body(std::move(body)) {}
    void run() override { m_body(); }

private:
    const std::function<void()> m_body;
};

/** What a DllMain holds while it runs; a thread needs it to begin and to end. */
class LoaderLock
{
public:
    LoaderLock() { function<Lock>("LdrLockLoaderLock")(0, nullptr, &m_cookie); }
    ~LoaderLock() { function<Unlock>("LdrUnlockLoaderLock")(0, m_cookie); }
    LoaderLock(const LoaderLock &) = delete;
    LoaderLock &operator=(const LoaderLock &) = delete;

private:
    using Lock = NTSTATUS(NTAPI *)(ULONG, ULONG *, ULONG_PTR *);
    using Unlock = NTSTATUS(NTAPI *)(ULONG, ULONG_PTR);

    template <class Function>
    static Function function(const char *name)
    {
        void (*const found)() =
            reinterpret_cast<void (*)()>(GetProcAddress(GetModuleHandleA("ntdll.dll"), name));
        return reinterpret_cast<Function>(found);
    }

    ULONG_PTR m_cookie = 0;
};

} // namespace

// So Windows ends all threads but one before it tells the DLLs that the process ends.
TEST(ThreadOnWindows, ThreadThatTheSystemHasEndedIsNotWaitedFor)
{
    std::atomic<HANDLE> system{nullptr};
    BodyThread thread([&] {
        HANDLE own = nullptr;
        DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &own, 0, FALSE,
                        DUPLICATE_SAME_ACCESS);
        system = own;
        Sleep(INFINITE);
    });
    thread.start();
    while (system == nullptr)
        Sleep(1);
    // At rest by then: a thread that is ended with a lock in hand, the events' or the heap's, keeps it.
    Sleep(300);
    EXPECT_FALSE(thread.waitUntilEnded(0));
    TerminateThread(system, 0);
    EXPECT_EQ(WaitForSingleObject(system, 20000), WAIT_OBJECT_0);
    CloseHandle(system);
    EXPECT_FALSE(thread.finished().wait(0)) << "nobody has set it";
    EXPECT_TRUE(thread.waitUntilEnded(0));
    EXPECT_FALSE(thread.kill()) << "nothing is left to kill";
}

// As a DLL does whose DllMain ends the library: the thread cannot end before that has returned.
TEST(ThreadOnWindows, ThreadMayBeDestroyedUnderTheLoadersLock)
{
    std::atomic<HANDLE> system{nullptr};
    LEvent running(true, false);
    LEvent mayEnd(true, false);
    auto thread = std::make_unique<BodyThread>([&] {
        HANDLE own = nullptr;
        DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &own, 0, FALSE,
                        DUPLICATE_SAME_ACCESS);
        system = own;
        running.set();
        mayEnd.wait(zel::kInfinite);
    });
    thread->start();
    ASSERT_TRUE(running.wait(20000));
    {
        const LoaderLock lock;
        mayEnd.set();
        EXPECT_TRUE(thread->waitUntilEnded(20000));
        const auto begin = std::chrono::steady_clock::now();
        thread.reset();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2)) << "it has waited";
        EXPECT_EQ(WaitForSingleObject(system, 0), WAIT_TIMEOUT) << "the thread is held up at its end";
    }
    EXPECT_EQ(WaitForSingleObject(system, 20000), WAIT_OBJECT_0);
    CloseHandle(system);
}
