#include "failing_call.h"

#include <cstdlib>
#include <cstring>
#include <system_error>
#include <vector>

namespace faults {

namespace {

constinit thread_local FailingCall *t_failing = nullptr;
constinit thread_local CallCount *t_count = nullptr;
constinit thread_local int t_lastError = 0;

std::vector<CallFailure> &failures()
{
    static std::vector<CallFailure> all;
    return all;
}

} // namespace

std::span<const CallFailure> callFailures()
{
    return failures();
}

bool addCall(const char *call, std::initializer_list<CallError> errors)
{
    for (const CallError &each : errors)
        failures().push_back({call, each.error, each.effect});
    return true;
}

std::string nameOf(const CallFailure &failure)
{
    return std::string(failure.call) + ": " + std::system_category().message(failure.error) + " (" +
           std::to_string(failure.error) + ")";
}

FailingCall::FailingCall(const CallFailure &failure, std::size_t n, std::size_t times) noexcept
    : m_failure(failure), m_untilFirst(n), m_times(times)
{
    t_failing = this;
}

FailingCall::~FailingCall()
{
    t_failing = nullptr;
}

CallCount::CallCount() noexcept
{
    t_count = this;
}

CallCount::~CallCount()
{
    t_count = nullptr;
}

std::size_t CallCount::of(const char *call) const noexcept
{
    for (const Entry &entry : m_entries)
        if (entry.call != nullptr && std::strcmp(entry.call, call) == 0)
            return entry.count;
    return 0;
}

bool callFails(const char *call) noexcept
{
    if (t_count != nullptr) {
        CallCount::Entry *entry = t_count->m_entries;
        while (entry->call != nullptr && std::strcmp(entry->call, call) != 0)
            if (++entry == t_count->m_entries + CallCount::kMostCalls)
                std::abort();
        entry->call = call;
        ++entry->count;
    }
    FailingCall *const failing = t_failing;
    if (failing == nullptr || std::strcmp(failing->m_failure.call, call) != 0)
        return false;
    if (failing->m_untilFirst > 1) {
        --failing->m_untilFirst;
        return false;
    }
    if (failing->m_failed == failing->m_times)
        return false;
    ++failing->m_failed;
    t_lastError = failing->m_failure.error;
    setCallError(t_lastError);
    return true;
}

int lastCallError() noexcept
{
    return t_lastError;
}

} // namespace faults
