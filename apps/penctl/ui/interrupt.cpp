#include "ui/interrupt.h"

#include <chrono>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "ui/output.h"

namespace penctl {

namespace {

constexpr std::chrono::milliseconds kLongest{900};

/** The registered actions, the youngest last. The lock is held from the interruption to the end of the
 *  process. */
struct Actions {
    std::mutex mutex;
    std::vector<const OnInterrupt *> registered;
};

/** The object is never destroyed, because an interruption may come while the process ends. */
Actions &actions()
{
    static auto *const instance = new Actions;
    return *instance;
}

} // namespace

OnInterrupt::OnInterrupt(std::function<std::string()> whatToDo, int codeToEndWith)
    : action(std::move(whatToDo)), exitCode(codeToEndWith)
{
    const std::lock_guard lock(actions().mutex);
    actions().registered.push_back(this);
}

OnInterrupt::~OnInterrupt()
{
    const std::lock_guard lock(actions().mutex);
    std::erase(actions().registered, this);
}

void interrupt()
{
    actions().mutex.lock();
    const std::vector<const OnInterrupt *> &registered = actions().registered;
    const int exitCode = registered.empty() ? kInterrupted : registered.back()->exitCode;
    std::thread([exitCode] {
        std::this_thread::sleep_for(kLongest);
        leaveNow(exitCode);
    }).detach();
    std::string told = "penctl: interrupted";
    const std::vector<const OnInterrupt *> latestFirst(registered.rbegin(), registered.rend());
    for (const OnInterrupt *next : latestFirst) {
        const std::string words = next->action();
        told += words.empty() ? "" : "; " + words;
    }
    if (exitCode == kInterrupted)
        note(told);
    leaveNow(exitCode);
}

void endInterrupts()
{
    actions().mutex.lock();
}

} // namespace penctl
