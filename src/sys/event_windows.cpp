#include "sys/event.h"

#include "sys/exceptions.h"

#include <windows.h>

namespace zel {

struct LEvent::Native {
    Native(bool manualReset, bool initially) : handle(CreateEventW(nullptr, manualReset, initially, nullptr))
    {
        if (handle == nullptr)
            throw ZELException("Unable to create new event");
    }
    ~Native() { CloseHandle(handle); }
    Native(const Native &) = delete;
    Native &operator=(const Native &) = delete;

    const HANDLE handle;
};

LEvent::LEvent(bool manualReset, bool initiallySignalled)
    : m_native(std::make_unique<Native>(manualReset, initiallySignalled))
{
    lock(); // creates the lock, so that the destructor need not allocate it
}

LEvent::~LEvent()
{
    const threadsynch::CriticalSectionGuard guard(lock());
    m_native.reset();
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
