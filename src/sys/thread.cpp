#include "sys/thread.h"

#include "sys/clock.h"
#include "sys/exceptions.h"

namespace zel {

/** Runs in its destructor what has to happen after run(), however run() ended. */
class LThread::Finish
{
public:
    explicit Finish(LThread *thread) : m_thread(thread), m_autoDelete(thread->m_autoDelete) {}
    Finish(const Finish &) = delete;
    Finish &operator=(const Finish &) = delete;
    ~Finish()
    {
        m_thread->m_finished.set();
        // Without autoDelete the owner may have deleted the object by now.
        if (m_autoDelete)
            delete m_thread;
    }

private:
    LThread *m_thread;
    const bool m_autoDelete;
};

void LThread::start()
{
    // A new thread that ends at once would set m_finished and delete this object while create() still writes
    // to it. Setting an event takes this lock, so the new thread waits here.
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
    // We hold the events' lock, so the thread does not. If it were stopped while it held that lock, every
    // event of the process would block for ever.
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
