#pragma once

#include "sys/critical_section.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace zel {

/** Waits are in milliseconds; kInfinite never times out. */
inline constexpr std::uint32_t kInfinite = 0xFFFFFFFF;

/** An event with the semantics of a Win32 event object. Any thread may set, reset or wait. An event may
 *  be destroyed as soon as a wait for it has returned: set() and the destructor take turns. */
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
    /** True when the event was signalled within the time; an auto-reset event is then clear again. */
    bool wait(std::uint32_t milliseconds);
    /** The linked event is borrowed and must outlive this one. */
    void link(LEvent &other);

    /** The lock that all events share. Who holds it knows that no thread stands inside set(). */
    static threadsynch::CriticalSection &lock();

private:
    struct Native;

    void signal();

    std::unique_ptr<Native> m_native;
    std::vector<LEvent *> m_linked;
};

} // namespace zel
