// The functions that start and stop a listener when a call to the system fails on the host's thread.
#include "allocation_watch.h"
#include "failing_call.h"
#include "support/process_counts.h"

#include "sys/log.h"
#include "sys/thread.h"

#include "zel/zel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <numeric>
#include <ostream>

namespace faults {

namespace {

void freeAnnounced(DiscoveryHandle *record, void *)
{
    zelFreeDiscoveryHandle(&record);
}

std::uint32_t initialise()
{
    return zelInitialize(freeAnnounced, freeAnnounced, nullptr);
}

std::uint32_t initialiseDfu()
{
    return zelDfuInit(nullptr, freeAnnounced, freeAnnounced);
}

std::uint32_t nothing()
{
    return ZEL_OK;
}

std::atomic<bool> s_listenerWaits;

void onLog(zel::LogLevel, std::string_view text)
{
    if (text == "Waiting for rendezvous server to become available")
        s_listenerWaits = true;
}

/** Until the listener has come to where it stays as long as there is no server. */
template <std::uint32_t (*Initialise)()>
std::uint32_t untilItWaits()
{
    constexpr int kMostMilliseconds = 5000;
    s_listenerWaits = false;
    zel::setLogObserver(onLog);
    const std::uint32_t code = Initialise();
    for (int waited = 0; !s_listenerWaits && waited < kMostMilliseconds; ++waited)
        zel::sleepMilliseconds(1);
    zel::setLogObserver(nullptr);
    return code;
}

/** A function, what comes before it, and what brings the library back to the beginning. */
struct Step {
    const char *name;
    std::uint32_t (*before)();
    std::uint32_t (*call)();
    std::uint32_t (*exit)();
    /** The use of the call that makes an event which belongs to the thread. */
    std::size_t eventOfThread;
};

void PrintTo(const Step &step, std::ostream *out)
{
    *out << step.name;
}

const Step kSteps[] = {
    {"zelInitialize", nothing, initialise, zelExit, 2},
    {"zelEnumeratePens", untilItWaits<initialise>, zelEnumeratePens, zelExit, 1},
    {"zelExit", untilItWaits<initialise>, zelExit, nothing, 0},
    {"zelDfuInit", nothing, initialiseDfu, zelDfuExit, 2},
    {"zelDfuExit", untilItWaits<initialiseDfu>, zelDfuExit, nothing, 0},
};

bool makesAnEvent(const CallFailure &failure)
{
    return std::strcmp(failure.call, "eventfd") == 0 || std::strcmp(failure.call, "CreateEventW") == 0;
}

class FailingStartCall : public testing::TestWithParam<Step>
{
protected:
    FailingStartCall()
    {
        goThrough();
        m_processBefore = zel::test::countProcess();
        m_allocationsBefore = outstandingAllocations();
        EXPECT_EQ(GetParam().before(), ZEL_OK);
        {
            const CallCount count;
            EXPECT_EQ(GetParam().call(), ZEL_OK);
            for (const CallFailure &failure : callFailures())
                m_uses.push_back(count.of(failure.call));
        }
        EXPECT_EQ(GetParam().exit(), ZEL_OK);
        EXPECT_GT(std::accumulate(m_uses.begin(), m_uses.end(), std::size_t{0}), 0u);
    }

    ~FailingStartCall() override { std::printf("[ matrix   ] %6zu failing calls\n", m_made); }

    void checkEachUse(std::size_t times)
    {
        for (std::size_t i = 0; i < callFailures().size(); ++i) {
            const CallFailure &failure = callFailures()[i];
            if (times != 1 && failure.effect == CallFailure::Effect::Nothing)
                continue;
            for (std::size_t n = 1; n <= m_uses[i] && !HasFailure(); ++n) {
                SCOPED_TRACE(nameOf(failure) + ", use " + std::to_string(n));
                ++m_made;
                check(failure, n, times);
            }
        }
    }

private:
    void check(const CallFailure &failure, std::size_t n, std::size_t times)
    {
        EXPECT_EQ(GetParam().before(), ZEL_OK);
        EXPECT_EQ(callWith(failure, n, times), expected(failure, n));
        EXPECT_EQ(GetParam().exit(), ZEL_OK);
        EXPECT_EQ(outstandingAllocations(), m_allocationsBefore);
        if (zel::test::countsExactly()) {
            EXPECT_EQ(zel::test::countProcess(m_processBefore), m_processBefore);
        }
        goThrough();
    }

    static std::uint32_t callWith(const CallFailure &failure, std::size_t n, std::size_t times)
    {
        const AllocationWatch watch;
        const FailingCall failing(failure, n, times);
        return GetParam().call();
    }

    /** A thread object that cannot be made is told like memory that is short. */
    static std::uint32_t expected(const CallFailure &failure, std::size_t n)
    {
        if (failure.effect == CallFailure::Effect::Nothing)
            return ZEL_OK;
        const bool threadObject = makesAnEvent(failure) && n == GetParam().eventOfThread;
        return threadObject ? ZEL_ERR_INVALID_ARGUMENT : ZEL_ERR_UNEXPECTED;
    }

    static void goThrough()
    {
        EXPECT_EQ(GetParam().before(), ZEL_OK);
        EXPECT_EQ(GetParam().call(), ZEL_OK);
        EXPECT_EQ(GetParam().exit(), ZEL_OK);
    }

    zel::test::ProcessCounts m_processBefore;
    std::size_t m_allocationsBefore = 0;
    std::vector<std::size_t> m_uses;
    std::size_t m_made = 0;
};

} // namespace

TEST_P(FailingStartCall, OnceAtEachUse)
{
    checkEachUse(1);
}

TEST_P(FailingStartCall, ForGoodFromEachUseOn)
{
    checkEachUse(kForGood);
}

INSTANTIATE_TEST_SUITE_P(Steps, FailingStartCall, testing::ValuesIn(kSteps),
                         [](const auto &step) { return step.param.name; });

} // namespace faults
