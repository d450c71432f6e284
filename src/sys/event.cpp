#include "sys/event.h"

namespace zel {

threadsynch::CriticalSection &LEvent::lock()
{
    // Never destroyed: a listener may still run while the process ends.
    static auto *const s_lock = new threadsynch::CriticalSection;
    return *s_lock;
}

void LEvent::set()
{
    const threadsynch::CriticalSectionGuard guard(lock());
    signal();
    for (LEvent *linked : m_linked)
        linked->set();
}

void LEvent::link(LEvent &other)
{
    const threadsynch::CriticalSectionGuard guard(lock());
    m_linked.push_back(&other);
}

} // namespace zel
