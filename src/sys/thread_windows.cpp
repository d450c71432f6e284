#include "sys/thread.h"

#include <windows.h>

namespace zel {

struct LThread::Native {
    HANDLE handle = INVALID_HANDLE_VALUE;
    DWORD threadId = 0;
};

void sleepMilliseconds(std::uint32_t milliseconds)
{
    Sleep(milliseconds);
}

LThread::LThread(bool autoDelete) : m_native(std::make_unique<Native>()), m_autoDelete(autoDelete) {}

LThread::~LThread()
{
    if (!isRunning())
        return;
    if (m_native->threadId != GetCurrentThreadId() && m_finished.wait(0))
        WaitForSingleObject(m_native->handle, INFINITE);
    CloseHandle(m_native->handle);
}

void LThread::create()
{
    const auto entry = [](void *thread) -> DWORD {
        enter(static_cast<LThread *>(thread));
        return 0;
    };
    const HANDLE created = CreateThread(nullptr, 0, entry, this, 0, &m_native->threadId);
    if (created != nullptr)
        m_native->handle = created;
}

bool LThread::isRunning() const noexcept
{
    return m_native->handle != INVALID_HANDLE_VALUE;
}

void LThread::stop()
{
    TerminateThread(m_native->handle, 0);
    // Termination is only requested by the call above.
    WaitForSingleObject(m_native->handle, INFINITE);
    CloseHandle(m_native->handle);
    m_native->handle = INVALID_HANDLE_VALUE;
}

} // namespace zel
