#include "sys/critical_section.h"

#include <mutex>

namespace zel::threadsynch {

struct CriticalSection::Native {
    std::recursive_mutex mutex;
};

CriticalSection::CriticalSection() : m_native(std::make_unique<Native>()) {}

CriticalSection::~CriticalSection() = default;

void CriticalSection::lock()
{
    m_native->mutex.lock();
    ++m_lockCount;
}

void CriticalSection::unlock()
{
    if (--m_lockCount >= 0)
        m_native->mutex.unlock();
}

} // namespace zel::threadsynch
