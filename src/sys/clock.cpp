#include "sys/clock.h"

#include "sys/event.h"
#include "sys/thread.h"

#include <atomic>

namespace zel {

namespace {

bool waitBySystem(LEvent *event, std::uint32_t milliseconds)
{
    if (event != nullptr)
        return event->wait(milliseconds);
    sleepMilliseconds(milliseconds);
    return false;
}

std::atomic<TimedWait> s_wait{waitBySystem};

} // namespace

bool waitFor(LEvent &event, std::uint32_t milliseconds)
{
    return s_wait.load()(&event, milliseconds);
}

void pauseFor(std::uint32_t milliseconds)
{
    s_wait.load()(nullptr, milliseconds);
}

void setTimedWait(TimedWait wait) noexcept
{
    s_wait = wait != nullptr ? wait : waitBySystem;
}

} // namespace zel
