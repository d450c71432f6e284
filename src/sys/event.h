#pragma once

#include "sys/critical_section.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace zel {

/** Waits are in milliseconds; kInfinite never times out. */
inline constexpr std::uint32_t kInfinite = 0xFFFFFFFF;

/** A flag that threads can wait for; it behaves like a Win32 event object. Any thread may set, reset or wait.
 *  An event may be destroyed as soon as a wait for it has returned: set() and the destructor hold the same
 *  lock, so a set() that is still running finishes first.
 *
 *      LEvent stop{true, false};       // manual reset, not signalled
 *      stop.set();                     // thread A
 *      if (stop.wait(3000)) return;    // thread B
 */
class LEvent
{
public:
    /** Throws ZELException when the system gives no event. */
    LEvent(bool manualReset, bool initiallySignalled);
    ~LEvent();
    LEvent(const LEvent &) = delete;
    LEvent &operator=(const LEvent &) = delete;

    /** Signals this event and then, in list order, every linked one. */
    void set();
    void reset();
    /** Returns true when the event was signalled within the time. An auto-reset event is then clear again. */
    bool wait(std::uint32_t milliseconds);
    /** The linked event is borrowed and must outlive this one. */
    void link(LEvent &other);

    /** The lock that all events share. While you hold it, no other thread is inside set(). */
    static threadsynch::CriticalSection &lock();

private:
    struct Native;

    void signal();

    std::unique_ptr<Native> m_native;
    std::vector<LEvent *> m_linked;
};

} // namespace zel
