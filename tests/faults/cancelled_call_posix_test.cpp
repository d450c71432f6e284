// A thread of the host that is cancelled inside an export: the call is completed as if nothing had happened,
// and the thread ends afterwards, in the host's code.
#include "allocation_watch.h"
#include "fault_rows.h"
#include "subject.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include <pthread.h>

using namespace faults;

namespace {

namespace wire = zel::test::wire;

/** A call on a thread of its own, which runs on to a point where it can be cancelled. */
class CallOnThread
{
public:
    enum class Cancelled { Beforehand, Later };

    CallOnThread(const FaultRow &row, Handles &handles, Cancelled cancelled)
        : m_row(&row), m_handles(&handles), m_cancelled(cancelled)
    {
        EXPECT_EQ(pthread_create(&m_thread, nullptr, run, this), 0);
    }
    CallOnThread(const CallOnThread &) = delete;
    CallOnThread &operator=(const CallOnThread &) = delete;

    void cancel() const { pthread_cancel(m_thread); }

    void expectUsualOutcomeAndCancellation()
    {
        void *result = nullptr;
        pthread_join(m_thread, &result);
        EXPECT_EQ(result, PTHREAD_CANCELED);
        EXPECT_EQ(m_outcome.code, m_row->code);
        EXPECT_EQ(m_outcome.outputs, m_row->outputs);
    }

private:
    static void *run(void *argument)
    {
        auto &call = *static_cast<CallOnThread *>(argument);
        if (call.m_cancelled == Cancelled::Beforehand)
            pthread_cancel(pthread_self());
        {
            const AllocationWatch watch;
            call.m_outcome = call.m_row->call(*call.m_handles);
        }
        for (;;)
            pthread_testcancel();
    }

    const FaultRow *m_row;
    Handles *m_handles;
    Cancelled m_cancelled;
    pthread_t m_thread{};
    Outcome m_outcome{};
};

class CancelledCall : public testing::TestWithParam<FaultRow>
{
protected:
    CancelledCall() { m_bench.begin(GetParam()); }
    ~CancelledCall() override { m_bench.expectNothingLeft(); }

    Bench m_bench;
};

INSTANTIATE_TEST_SUITE_P(Exports, CancelledCall, testing::ValuesIn(faultRows()), nameOfRow);

class CancelledExchange : public CancelledCall
{
};

INSTANTIATE_TEST_SUITE_P(Exports, CancelledExchange, testing::ValuesIn(askingRows()), nameOfRow);

} // namespace

TEST_P(CancelledCall, IsCompletedAndEndsTheThreadAfterwards)
{
    const FaultRow &row = GetParam();
    Subject subject(m_bench, row.mode);
    for (const Exchange &exchange : row.exchanges)
        m_bench.service().then(wire::result(exchange.result));
    CallOnThread call(row, subject.handles(), CallOnThread::Cancelled::Beforehand);
    call.expectUsualOutcomeAndCancellation();
}

TEST_P(CancelledExchange, WaitsForTheAnswer)
{
    const FaultRow &row = GetParam();
    Subject subject(m_bench, row.mode);
    bool first = true;
    for (const Exchange &exchange : row.exchanges) {
        const std::chrono::milliseconds delay(first ? 50 : 0);
        m_bench.service().then({.bytes = wire::result(exchange.result), .delay = delay});
        first = false;
    }
    CallOnThread call(row, subject.handles(), CallOnThread::Cancelled::Later);
    while (m_bench.service().requests().empty())
        std::this_thread::yield();
    call.cancel();
    call.expectUsualOutcomeAndCancellation();
}
