#include "sys/thread.h"

#include "sys/exceptions.h"

namespace zel {

void LThread::start()
{
    // A thread that ends at once and deletes this object has to wait until it is written down.
    const threadsynch::CriticalSectionGuard guard(LEvent::lock());
    create();
    if (!isRunning())
        throw ZELException("Unable to create new thread");
}

void LThread::kill()
{
    // With the events' lock in hand the thread cannot be stopped while it holds that lock itself,
    // which would block every event of the process from then on.
    const threadsynch::CriticalSectionGuard guard(LEvent::lock());
    if (isRunning() && !m_finished.wait(0))
        stop();
}

void LThread::enter(LThread *thread) noexcept
{
    const bool autoDelete = thread->m_autoDelete;
    try {
        thread->run();
    } catch (...) { // NOLINT(bugprone-empty-catch): nobody is left to tell
    }
    thread->m_finished.set();
    if (autoDelete)
        delete thread;
}

} // namespace zel
