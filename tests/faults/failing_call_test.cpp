// Every export on a pen, and those that connect, when a call to the system fails.
#include "failing_call.h"
#include "fault_rows.h"
#include "subject.h"

#include "sys/thread.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace faults {

namespace {

namespace wire = zel::test::wire;

struct Variation {
    CallFailure failure;
    std::size_t n;
    std::size_t times;
};

bool is(const CallFailure &failure, const char *call)
{
    return std::strcmp(failure.call, call) == 0;
}

class FailingCalls : public testing::TestWithParam<FaultRow>
{
protected:
    FailingCalls()
    {
        // Whichever exchanges the call comes to make, their usual answers are there.
        answerAlways(wire::request("U0YE"), wire::int32(0));
        answerAlways(wire::request("R2SM"), wire::int32(0));
        for (const Exchange &exchange : row().exchanges)
            answerAlways(exchange.request, exchange.result);
        m_bench.begin(row());
    }

    ~FailingCalls() override { std::printf("[ matrix   ] %6zu failing calls\n", m_made); }

    static const FaultRow &row() { return GetParam(); }

    /** Each call that the row makes, at each use, with each error, once and for good. */
    std::vector<Variation> variations()
    {
        Subject subject(m_bench, row().mode);
        const CallCount count;
        row().call(subject.handles());
        std::vector<Variation> all;
        for (const CallFailure &failure : callFailures()) {
            for (std::size_t n = 1; n <= count.of(failure.call); ++n) {
                all.push_back({failure, n, 1});
                if (failure.effect == CallFailure::Effect::Failure)
                    all.push_back({failure, n, kForGood});
            }
        }
        return all;
    }

    void check(const Variation &variation)
    {
        SCOPED_TRACE(nameOf(variation.failure) + ", use " + std::to_string(variation.n) +
                     (variation.times == 1 ? "" : " and all that follow"));
        ++m_made;
        {
            Subject subject(m_bench, row().mode);
            const CallCount count;
            const AllocationWatch watch;
            const FailingCall failing(variation.failure, variation.n, variation.times);
            const Outcome got = row().call(subject.handles());
            EXPECT_NE(failing.failed(), 0u);
            expectSpecified(got, variation.failure, count.of("send"));
            waitForRequests(count.of("send") - (is(variation.failure, "send") ? failing.failed() : 0));
        }
        m_bench.expectUsual(row());
        m_bench.expectNothingLeft();
    }

private:
    void answerAlways(const Bytes &request, const Bytes &result)
    {
        m_bench.service().always({reinterpret_cast<const char *>(request.data()), request.size()},
                                 wire::result(result));
    }

    /** A request that the library did not wait for must not take the answer to the next. */
    void waitForRequests(std::size_t sent)
    {
        for (int waited = 0; m_bench.service().requests().size() < sent && waited < 2000; ++waited)
            zel::sleepMilliseconds(1);
        EXPECT_EQ(m_bench.service().requests().size(), sent);
    }

    /** Nothing is sent after an exchange that failed, so the requests that were sent tell which one did. */
    static void expectSpecified(const Outcome &got, const CallFailure &failure, std::size_t sent)
    {
        const Expected expected = expectedAfter(failure, sent);
        const bool asUsual = expected.code == row().code;
        EXPECT_EQ(got.code, expected.code);
        EXPECT_EQ(got.outputs, expected.outputs.value_or(asUsual ? row().outputs : row().failed));
    }

    static Expected expectedAfter(const CallFailure &failure, std::size_t sent)
    {
        if (failure.effect == CallFailure::Effect::Nothing)
            return {.code = row().code, .outputs = row().outputs};
        if (is(failure, "send") || is(failure, "recv"))
            return row().whenFault(sent - 1, Fault::Lost);
        return {.code = ZEL_ERR_UNEXPECTED}; // no connection
    }

    Bench m_bench;
    std::size_t m_made = 0;
};

} // namespace

TEST_P(FailingCalls, AtEachUse)
{
    for (const Variation &variation : variations()) {
        check(variation);
        if (HasFailure())
            break;
    }
}

namespace {

std::vector<FaultRow> connectingRowsAndThoseThatAsk()
{
    std::vector<FaultRow> rows = askingRows();
    const auto firmware = std::find_if(faultRows().begin(), faultRows().end(),
                                       [](const FaultRow &row) { return row.name == "zelDfuConnectPen"; });
    rows.push_back(*firmware);
    return rows;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Exports, FailingCalls, testing::ValuesIn(connectingRowsAndThoseThatAsk()),
                         nameOfRow);

} // namespace faults
