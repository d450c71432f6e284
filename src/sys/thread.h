#pragma once

#include "sys/event.h"

#include <cstdint>
#include <memory>

namespace zel {

void sleepMilliseconds(std::uint32_t milliseconds);

/** Marks a call of the host's code (a callback) on a thread of the library: construct one before the call, in
 *  the same scope. If the thread is killed during the call, it never returns from it: the destructor stops
 *  the thread at the latest, also when the callback threw, and even if the callback blocked all signals. On
 *  the host's own threads this class does nothing.
 *
 *      const ForeignCode call;
 *      callback(record, context);
 */
class ForeignCode
{
public:
    ForeignCode();
    ~ForeignCode();
    ForeignCode(const ForeignCode &) = delete;
    ForeignCode &operator=(const ForeignCode &) = delete;
};

/** While an object of this class lives, a cancellation of the calling thread (pthread_cancel) is delayed. For
 *  a thread with asynchronous cancellation (PTHREAD_CANCEL_ASYNCHRONOUS) it takes effect in the destructor,
 *  which the C library then leaves by unwinding the stack; therefore the destructor is noexcept(false). */
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

/** What a thread does: LThread calls run() on the new thread. */
class LThreadImpl
{
public:
    virtual ~LThreadImpl() = default;
    virtual void run() = 0;
};

/** A thread that calls run() once. Derive from it and override run(). An exception that leaves run() ends the
 *  thread but not the process. One thread owns the object. With autoDelete, the new thread owns it as soon as
 *  run() has returned, and deletes it. */
class LThread : public LThreadImpl
{
public:
    explicit LThread(bool autoDelete);
    /** The thread must never have been started, or must have ended, or must have been killed. */
    ~LThread() override;
    LThread(const LThread &) = delete;
    LThread &operator=(const LThread &) = delete;

    /** Throws ZELException "Unable to create new thread". */
    void start();
    /** Whether start() has made a thread that was not killed; it may have ended already. */
    bool isRunning() const noexcept;
    /** Returns whether the thread ended within the time: run() returned, or the system ended the thread.
     *  Windows ends all other threads before it tells the DLLs that the process exits. */
    bool waitUntilEnded(std::uint32_t milliseconds);
    /** Stops the thread where it is: nothing is unwound, no lock that it holds is released, and its stack
     *  stays allocated. Returns false when there is no thread to stop. Afterwards the thread does not touch
     *  the library's memory any more, and the object may be deleted. A thread in the host's code that has
     *  blocked the signal keeps running there, and stops when it leaves that code (ForeignCode). Does not
     *  return when a thread calls it for itself. */
    bool kill();
    /** Signalled when run() has returned. */
    LEvent &finished() noexcept { return m_finished; }

private:
    struct Native;

    class Finish;

    static void enter(LThread *thread);
    void create();
    bool isCurrent() const noexcept;
    /** Whether the system has ended the thread, even if run() never returned. */
    bool isGone() const noexcept;
    void stop();

    std::unique_ptr<Native> m_native;
    LEvent m_finished{true, false};
    const bool m_autoDelete;
};

} // namespace zel
