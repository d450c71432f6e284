#pragma once

#include <cstddef>
#include <initializer_list>
#include <limits>
#include <span>
#include <string>

namespace faults {

/** A call of the platform layer to the system, and one of the errors with which it can end. */
struct CallFailure {
    /** What the caller of the platform layer sees of it. */
    enum class Effect { Nothing, Failure };

    const char *call;
    int error;
    Effect effect;
};

/** Every call with each of its plausible errors. */
std::span<const CallFailure> callFailures();

/** "send: Connection reset by peer (104)" */
std::string nameOf(const CallFailure &failure);

/** As a number of times: all that follow. */
inline constexpr std::size_t kForGood = std::numeric_limits<std::size_t>::max();

/** While one lives on a thread, that thread's uses of a call from the n-th (from 1) on fail, as often as is
 *  said. One a thread at a time; other threads see nothing of it. */
class FailingCall
{
public:
    FailingCall(const CallFailure &failure, std::size_t n, std::size_t times = 1) noexcept;
    ~FailingCall();
    FailingCall(const FailingCall &) = delete;
    FailingCall &operator=(const FailingCall &) = delete;

    /** How many uses have failed. */
    std::size_t failed() const noexcept { return m_failed; }

private:
    friend bool callFails(const char *call) noexcept;

    const CallFailure &m_failure;
    std::size_t m_untilFirst;
    std::size_t m_times;
    std::size_t m_failed = 0;
};

/** While one lives on a thread, it counts how often that thread makes each call. */
class CallCount
{
public:
    CallCount() noexcept;
    ~CallCount();
    CallCount(const CallCount &) = delete;
    CallCount &operator=(const CallCount &) = delete;

    std::size_t of(const char *call) const noexcept;

private:
    friend bool callFails(const char *call) noexcept;

    static constexpr std::size_t kMostCalls = 32;

    struct Entry {
        const char *call = nullptr;
        std::size_t count = 0;
    };

    Entry m_entries[kMostCalls];
};

// For the calls that stand in place of the system's.

struct CallError {
    int error;
    CallFailure::Effect effect;
};

/** Returns true, so that a global can be initialised with it. */
bool addCall(const char *call, std::initializer_list<CallError> errors);

/** Whether this use of the call is to fail; the calling thread's error is set then. */
bool callFails(const char *call) noexcept;
/** As a call tells its error to who asks for it. */
void setCallError(int error) noexcept;
/** The error of the use that failed last on this thread. */
int lastCallError() noexcept;

} // namespace faults
