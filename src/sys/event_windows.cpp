#include "sys/event.h"

#include "sys/exceptions.h"

#include <windows.h>

namespace zel {

struct LEvent::Native {
    HANDLE handle;
};

LEvent::LEvent(bool manualReset, bool initiallySignalled)
    : m_native(std::make_unique<Native>(CreateEventW(nullptr, manualReset, initiallySignalled, nullptr)))
{
    if (m_native->handle == nullptr)
        throw ZELException("Unable to create new event");
}

LEvent::~LEvent()
{
    const threadsynch::CriticalSectionGuard guard(lock());
    CloseHandle(m_native->handle);
}

void LEvent::signal()
{
    SetEvent(m_native->handle);
}

void LEvent::reset()
{
    ResetEvent(m_native->handle);
}

bool LEvent::wait(std::uint32_t milliseconds)
{
    return WaitForSingleObject(m_native->handle, milliseconds) == WAIT_OBJECT_0;
}

} // namespace zel
