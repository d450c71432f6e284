#include "sys/event.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace zel {

struct LEvent::Native {
    Native(bool manual, bool initially) : manualReset(manual), signalled(initially) {}

    const bool manualReset;
    std::mutex mutex;
    std::condition_variable changed;
    bool signalled;
};

LEvent::LEvent(bool manualReset, bool initiallySignalled)
    : m_native(std::make_unique<Native>(manualReset, initiallySignalled))
{
}

LEvent::~LEvent()
{
    const threadsynch::CriticalSectionGuard guard(lock());
    m_native.reset();
}

void LEvent::signal()
{
    const std::lock_guard guard(m_native->mutex);
    m_native->signalled = true;
    m_native->changed.notify_all();
}

void LEvent::reset()
{
    const std::lock_guard guard(m_native->mutex);
    m_native->signalled = false;
}

bool LEvent::wait(std::uint32_t milliseconds)
{
    std::unique_lock guard(m_native->mutex);
    const auto isSignalled = [this] { return m_native->signalled; };
    if (milliseconds == kInfinite)
        m_native->changed.wait(guard, isSignalled);
    else if (!m_native->changed.wait_for(guard, std::chrono::milliseconds(milliseconds), isSignalled))
        return false;
    if (!m_native->manualReset)
        m_native->signalled = false;
    return true;
}

} // namespace zel
