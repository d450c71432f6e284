#include "sys/thread.h"

#include "sys/clock.h"
#include "sys/exceptions.h"

namespace zel {

/** What follows the body, however it ended. */
class LThread::Finish
{
public:
    explicit Finish(LThread *thread) : m_thread(thread), m_autoDelete(thread->m_autoDelete) {}
    Finish(const Finish &) = delete;
    Finish &operator=(const Finish &) = delete;
    ~Finish()
    {
        m_thread->m_finished.set();
        // From here on the object may be gone, unless it is the thread's own.
        if (m_autoDelete)
            delete m_thread;
    }

private:
    LThread *m_thread;
    const bool m_autoDelete;
};

void LThread::start()
{
    // A thread that ends at once and deletes this object has to wait until it is written down.
    const threadsynch::CriticalSectionGuard guard(LEvent::lock());
    create();
    if (!isRunning())
        throw ZELException("Unable to create new thread");
}

bool LThread::waitUntilEnded(std::uint32_t milliseconds)
{
    return isGone() || waitFor(m_finished, milliseconds);
}

bool LThread::kill()
{
    // With the events' lock in hand the thread cannot be stopped while it holds that lock itself,
    // which would block every event of the process from then on.
    threadsynch::CriticalSectionGuard guard(LEvent::lock());
    if (!isRunning() || waitUntilEnded(0))
        return false;
    if (isCurrent())
        guard.unlock();
    stop();
    return true;
}

void LThread::enter(LThread *thread)
{
    const Finish finish(thread);
    thread->run();
}

} // namespace zel
