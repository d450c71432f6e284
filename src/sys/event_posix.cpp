#include "sys/event.h"

#include "sys/exceptions.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace zel {

namespace {

using Clock = std::chrono::steady_clock;

/** For poll(): what is left until then, rounded up. */
int millisecondsUntil(Clock::time_point deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, INT_MAX));
}

} // namespace

// The event is an object of the kernel, as it is on Windows: a thread that is killed while it waits
// leaves no lock taken and no count of waiting threads behind, over which others would hang.
struct LEvent::Native {
    Native(bool manual, bool initially)
        : manualReset(manual), descriptor(::eventfd(initially ? 1 : 0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
        if (descriptor < 0)
            throw ZELException("Unable to create new event");
    }
    ~Native() { ::close(descriptor); }
    Native(const Native &) = delete;
    Native &operator=(const Native &) = delete;

    /** Whether the signal was there, for a thread that has to be the only one to get it. */
    bool take() const
    {
        eventfd_t count = 0;
        return ::eventfd_read(descriptor, &count) == 0;
    }

    bool isReadable(int milliseconds) const
    {
        pollfd entry{descriptor, POLLIN, 0};
        return ::poll(&entry, 1, milliseconds) > 0;
    }

    bool awaitSignal(std::uint32_t milliseconds) const
    {
        const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
        for (;;) {
            const int timeout = milliseconds == kInfinite ? -1 : millisecondsUntil(deadline);
            if (isReadable(timeout) && (manualReset || take()))
                return true;
            if (timeout == 0)
                return false;
        }
    }

    const bool manualReset;
    /** What poll() tells makes nothing visible that the setting threads wrote; this count does. */
    std::atomic<std::uint32_t> signals{0};
    const int descriptor;
};

LEvent::LEvent(bool manualReset, bool initiallySignalled)
    : m_native(std::make_unique<Native>(manualReset, initiallySignalled))
{
    lock(); // made here, so that the destructor needs no memory for it
}

LEvent::~LEvent()
{
    const threadsynch::CriticalSectionGuard guard(lock());
    m_native.reset();
}

void LEvent::signal()
{
    ++m_native->signals;
    ::eventfd_write(m_native->descriptor, 1);
}

void LEvent::reset()
{
    m_native->take();
}

bool LEvent::wait(std::uint32_t milliseconds)
{
    if (!m_native->awaitSignal(milliseconds))
        return false;
    static_cast<void>(m_native->signals.load());
    return true;
}

} // namespace zel
