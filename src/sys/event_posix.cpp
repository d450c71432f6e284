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

/** The time left until the deadline, rounded up, as poll() takes it. */
int millisecondsUntil(Clock::time_point deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, INT_MAX));
}

} // namespace

// The event is a kernel object, as it is on Windows. A thread that is killed while it waits for one leaves no
// lock held and no count of waiting threads wrong; with a condition variable, other threads could then hang.
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

    /** Clears the signal. Returns whether it was set: of several threads only one gets true. */
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
    /** poll() does not order memory. This atomic does: it makes writes before set() visible after wait(). */
    std::atomic<std::uint32_t> signals{0};
    const int descriptor;
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
