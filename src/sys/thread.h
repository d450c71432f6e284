#pragma once

#include "sys/event.h"

#include <cstdint>
#include <memory>

namespace zel {

void sleepMilliseconds(std::uint32_t milliseconds);

/** Stands around a call of the host's code on a thread of the library. A thread that is killed in there never
 *  comes back, whatever that code does to its signals: it ends here at the latest, also when an exception
 *  brings it back. On any other thread it does nothing. */
class ForeignCode
{
public:
    ForeignCode();
    ~ForeignCode();
    ForeignCode(const ForeignCode &) = delete;
    ForeignCode &operator=(const ForeignCode &) = delete;
};

/** Holds back a cancellation of the calling thread (pthread_cancel) as long as it lives; it takes effect
 *  afterwards. Of a thread that may be cancelled at any moment (PTHREAD_CANCEL_ASYNCHRONOUS) that is in the
 *  destructor, which the C library then leaves by unwinding. */
class HeldCancellation
{
public:
    HeldCancellation() noexcept;
    ~HeldCancellation() noexcept(false);
    HeldCancellation(const HeldCancellation &) = delete;
    HeldCancellation &operator=(const HeldCancellation &) = delete;

private:
    int m_previousState = 0;
};

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
    /** Needs a thread that was never started, or has ended, or was killed. */
    ~LThread() override;
    LThread(const LThread &) = delete;
    LThread &operator=(const LThread &) = delete;

    /** Throws ZELException "Unable to create new thread". */
    void start();
    /** Whether there is a thread, running or ended. */
    bool isRunning() const noexcept;
    /** Whether the thread ends within the time: its body returns, or the system has ended it, as Windows does
     *  with all other threads before it tells the DLLs that the process ends. */
    bool waitUntilEnded(std::uint32_t milliseconds);
    /** Stops the thread where it stands: nothing is unwound, no lock it holds is released, its stack stays
     *  allocated. False when there is none that could be stopped. When kill returns the thread touches
     * nothing of the library's any more and the object may be deleted; in the host's code (ForeignCode) it
     * may go on where that keeps the kill out. Called by the thread itself it does not return. */
    bool kill();
    /** Set when the body has returned. */
    LEvent &finished() noexcept { return m_finished; }

private:
    struct Native;

    class Finish;

    static void enter(LThread *thread);
    void create();
    bool isCurrent() const noexcept;
    /** Whether the system has ended the thread, with or without its body. */
    bool isGone() const noexcept;
    void stop();

    std::unique_ptr<Native> m_native;
    LEvent m_finished{true, false};
    const bool m_autoDelete;
};

} // namespace zel
