#include "subject.h"

#include "dfu/dfu_listener.h"

#include <gtest/gtest.h>

namespace faults {

namespace wire = zel::test::wire;

Bench::Bench() : m_record(zel::test::arrivalOf(m_service, zel::test::ConnectedPen::kNewSoftware))
{
    contract::s_returned = AllocationWatch::end;
    zel::setDfuListener(std::make_unique<zel::DfuRendezvousListener>());
    {
        const Subject first(*this, Mode::Pen);
    }
    EXPECT_TRUE(m_service.waitUntilClosed());
    m_processBefore = zel::test::countProcess();
}

Bench::~Bench()
{
    EXPECT_EQ(zelDfuExit(), ZEL_OK);
}

void Bench::begin(const FaultRow &row)
{
    expectUsual(row);
    m_allocationsBefore = outstandingAllocations();
}

void Bench::expectUsual(const FaultRow &row)
{
    Subject subject(*this, row.mode);
    std::vector<Bytes> requests;
    for (const Exchange &exchange : row.exchanges) {
        m_service.then(wire::result(exchange.result));
        requests.push_back(exchange.request);
    }
    const AllocationWatch watch;
    const Outcome got = row.call(subject.handles());
    EXPECT_EQ(got.code, row.code);
    EXPECT_EQ(got.outputs, row.outputs);
    EXPECT_EQ(m_service.requests(), requests);
}

void Bench::expectNothingLeft()
{
    EXPECT_EQ(outstandingAllocations(), m_allocationsBefore);
    m_service.waitUntilClosed(); // mostly that is all
    if (zel::test::countsExactly()) {
        EXPECT_EQ(zel::test::countProcess(m_processBefore), m_processBefore);
    }
}

Subject::Subject(Bench &bench, Mode mode) : m_handles{.record = &bench.record()}
{
    zel::test::ScriptedPen &service = bench.service();
    service.forget();
    if (mode == Mode::Pen) {
        // A pen that says it is locked is asked nothing else.
        service.then(wire::result(wire::boolean(true)));
        const AllocationWatch watch;
        EXPECT_EQ(zelConnectPen(m_handles.record, &m_handles.pen), ZEL_OK);
    } else if (mode == Mode::Firmware) {
        const AllocationWatch watch;
        EXPECT_EQ(zelDfuConnectPen(&m_handles.dfu, m_handles.record), ZEL_OK);
    }
    service.forget();
}

Subject::~Subject()
{
    const AllocationWatch watch;
    EXPECT_EQ(zelDisconnectPen(&m_handles.pen), ZEL_OK);
    EXPECT_EQ(zelDfuDisconnectPen(&m_handles.dfu), ZEL_OK);
}

} // namespace faults
