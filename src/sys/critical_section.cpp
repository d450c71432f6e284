#include "sys/critical_section.h"

namespace zel::threadsynch {

CriticalSectionGuard::CriticalSectionGuard(CriticalSection &section) : m_section(&section)
{
    m_section->lock();
    m_locked = true;
}

CriticalSectionGuard::~CriticalSectionGuard()
{
    if (m_locked)
        m_section->unlock();
}

void CriticalSectionGuard::unlock()
{
    m_section->unlock();
    m_locked = false;
}

} // namespace zel::threadsynch
