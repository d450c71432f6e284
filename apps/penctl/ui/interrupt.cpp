#include "ui/interrupt.h"

#include <condition_variable>
#include <mutex>

#include "exit_code.h"
#include "ui/interrupt_flag.h"

namespace penctl {

namespace {

std::mutex s_mutex;
std::condition_variable s_changed;
bool s_requested = false;

} // namespace

void reportInterrupt()
{
    const std::lock_guard lock(s_mutex);
    if (s_requested)
        leaveNow(kInterrupted);
    s_requested = true;
    s_changed.notify_all();
}

void forgetInterrupt()
{
    const std::lock_guard lock(s_mutex);
    s_requested = false;
}

bool Interrupt::requested()
{
    const std::lock_guard lock(s_mutex);
    return s_requested;
}

bool Interrupt::waitFor(std::chrono::milliseconds time)
{
    std::unique_lock lock(s_mutex);
    return s_changed.wait_for(lock, time, [] { return s_requested; });
}

} // namespace penctl
