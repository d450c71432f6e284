#pragma once

#include "sys/event.h"

#include <cstdint>
#include <memory>

namespace zel {

void sleepMilliseconds(std::uint32_t milliseconds);
/** Lets a kill into the calling thread again, whatever foreign code did to its signals. A kill that waits
 *  strikes before this returns. */
void acceptKill() noexcept;

/** The body of a thread. */
class LThreadImpl
{
public:
    virtual ~LThreadImpl() = default;
    virtual void run() = 0;
};

/** A thread of the system that runs run() once. An exception of any kind that leaves run() ends there:
 *  the thread ends, the process lives. One thread owns the object; with autoDelete it is the new
 *  thread, from the moment its body has returned. */
class LThread : public LThreadImpl
{
public:
    explicit LThread(bool autoDelete);
    /** A thread whose body has returned is gone when the destructor returns, so that the library can be
     *  unloaded; one that still runs goes on without its object. */
    ~LThread() override;
    LThread(const LThread &) = delete;
    LThread &operator=(const LThread &) = delete;

    /** Throws ZELException "Unable to create new thread". */
    void start();
    /** Whether there is a thread, running or ended. */
    bool isRunning() const noexcept;
    /** Stops the thread where it stands: nothing is unwound, no lock it holds is released, its stack stays
     *  allocated. When kill returns the thread touches nothing any more and the object may be deleted.
     *  Called by the thread itself it does not return. */
    void kill();
    /** Set when the body has returned. */
    LEvent &finished() noexcept { return m_finished; }

private:
    struct Native;

    class Finish;

    static void enter(LThread *thread);
    void create();
    bool isCurrent() const noexcept;
    void stop();

    std::unique_ptr<Native> m_native;
    LEvent m_finished{true, false};
    const bool m_autoDelete;
};

} // namespace zel
