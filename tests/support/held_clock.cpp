#include "support/held_clock.h"

#include "sys/clock.h"
#include "sys/event.h"
#include "sys/thread.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>

namespace {

struct Wait {
    std::uint32_t length;
    std::uint64_t end;
};

constexpr std::uint64_t kLongerThanAnyWait = 1ULL << 32;

std::mutex s_lock;
std::condition_variable s_changed;
std::uint64_t s_now = 0;
std::list<Wait> s_waits;

bool changesWithinLimit(const auto &condition)
{
    std::unique_lock guard(s_lock);
    return s_changed.wait_for(guard, std::chrono::seconds(20), condition);
}

/** Lists a wait as long as it lasts. */
class ListedWait
{
public:
    explicit ListedWait(std::uint32_t milliseconds)
    {
        const std::lock_guard guard(s_lock);
        m_entry = s_waits.insert(s_waits.end(), {milliseconds, s_now + milliseconds});
        s_changed.notify_all();
    }
    ~ListedWait()
    {
        const std::lock_guard guard(s_lock);
        s_waits.erase(m_entry);
        s_changed.notify_all();
    }
    ListedWait(const ListedWait &) = delete;
    ListedWait &operator=(const ListedWait &) = delete;

    bool isOver() const
    {
        const std::lock_guard guard(s_lock);
        return m_entry->end <= s_now;
    }

private:
    std::list<Wait>::iterator m_entry;
};

bool waitHeld(zel::LEvent *event, std::uint32_t milliseconds)
{
    const ListedWait wait(milliseconds);
    while (!wait.isOver()) {
        if (event == nullptr)
            zel::sleepMilliseconds(1);
        else if (event->wait(1))
            return true;
    }
    return event != nullptr && event->wait(0);
}

} // namespace

HeldClock::HeldClock()
{
    zel::setTimedWait(waitHeld);
}

HeldClock::~HeldClock()
{
    zel::setTimedWait(nullptr);
    const std::lock_guard guard(s_lock);
    s_now += kLongerThanAnyWait;
}

bool HeldClock::waitForWaiting(std::uint32_t milliseconds) const
{
    return changesWithinLimit([&] {
        return std::ranges::any_of(s_waits, [&](const Wait &wait) { return wait.length == milliseconds; });
    });
}

void HeldClock::pass(std::uint32_t milliseconds)
{
    {
        const std::lock_guard guard(s_lock);
        s_now += milliseconds;
    }
    changesWithinLimit(
        [] { return std::ranges::none_of(s_waits, [](const Wait &wait) { return wait.end <= s_now; }); });
}
