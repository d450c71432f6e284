#include "sys/critical_section.h"

#include <windows.h>

namespace zel::threadsynch {

struct CriticalSection::Native {
    CRITICAL_SECTION section;
};

CriticalSection::CriticalSection() : m_native(std::make_unique<Native>())
{
    InitializeCriticalSection(&m_native->section);
}

CriticalSection::~CriticalSection()
{
    DeleteCriticalSection(&m_native->section);
}

void CriticalSection::lock()
{
    EnterCriticalSection(&m_native->section);
    ++m_lockCount;
}

void CriticalSection::unlock()
{
    if (--m_lockCount >= 0)
        LeaveCriticalSection(&m_native->section);
}

} // namespace zel::threadsynch
