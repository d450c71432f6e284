#include "sys/thread.h"

#include <windows.h>

#include <atomic>

namespace zel {

namespace {

/** A terminated thread that is blocked in the kernel ends only when it leaves the kernel. */
constexpr DWORD kLongestEndMilliseconds = 5000;

} // namespace

struct LThread::Native {
    std::atomic<HANDLE> handle{INVALID_HANDLE_VALUE};
    DWORD threadId = 0;

    static DWORD WINAPI entry(void *thread)
    {
        try {
            enter(static_cast<LThread *>(thread));
        } catch (...) { // NOLINT(bugprone-empty-catch): there is no caller to report it to
        }
        return 0;
    }
};

void sleepMilliseconds(std::uint32_t milliseconds)
{
    Sleep(milliseconds);
}

// On Windows no thread can block a kill.
ForeignCode::ForeignCode() = default;
ForeignCode::~ForeignCode() = default;

// Windows has no cancellation of threads.
HeldCancellation::HeldCancellation() noexcept = default;
HeldCancellation::~HeldCancellation() noexcept(false) = default;

LThread::LThread(bool autoDelete) : m_native(std::make_unique<Native>()), m_autoDelete(autoDelete) {}

LThread::~LThread()
{
    // Does not wait for the thread. To end, the thread needs the loader's lock, and a DllMain that called us
    // holds it. The rest of the thread runs in this library, which is never unloaded.
    if (isRunning())
        CloseHandle(m_native->handle);
}

void LThread::create()
{
    const HANDLE created = CreateThread(nullptr, 0, Native::entry, this, 0, &m_native->threadId);
    if (created != nullptr)
        m_native->handle = created;
}

bool LThread::isRunning() const noexcept
{
    return m_native->handle != INVALID_HANDLE_VALUE;
}

bool LThread::isCurrent() const noexcept
{
    return m_native->threadId == GetCurrentThreadId();
}

bool LThread::isGone() const noexcept
{
    return isRunning() && WaitForSingleObject(m_native->handle, 0) == WAIT_OBJECT_0;
}

void LThread::stop()
{
    const HANDLE thread = m_native->handle.exchange(INVALID_HANDLE_VALUE);
    TerminateThread(thread, 0);
    // TerminateThread() only requests the termination.
    WaitForSingleObject(thread, kLongestEndMilliseconds);
    CloseHandle(thread);
}

} // namespace zel
