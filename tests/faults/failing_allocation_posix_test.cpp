#include "allocation_watch.h"
#include "fault_rows.h"
#include "subject.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace faults {

namespace {

namespace wire = zel::test::wire;

/** What a process meets that has no memory when it makes its first call of all. */
std::uint32_t callBeforeAnyOther()
{
    const AllocationWatch watch;
    failAllocation(1, Memory::StaysShort);
    char *text = nullptr;
    return zelGetDevicePenSerial(nullptr, &text);
}

const std::uint32_t s_codeOfFirstCall = callBeforeAnyOther();

class FailingAllocation : public testing::TestWithParam<FaultRow>
{
protected:
    FailingAllocation()
    {
        // Whichever exchanges the call comes to make, their usual answers are there.
        answerAlways(wire::request("U0YE"), wire::int32(0));
        answerAlways(wire::request("R2SM"), wire::int32(0));
        for (const Exchange &exchange : row().exchanges)
            answerAlways(exchange.request, exchange.result);
        m_bench.begin(row());
    }

    static const FaultRow &row() { return GetParam(); }

    /** One allocation after the other is the first that fails, until the call needs no more. */
    void checkEveryAllocation(Memory memory)
    {
        constexpr std::size_t kMost = 5000;
        std::size_t n = 1;
        while (n < kMost && !HasFailure() && check(n, memory))
            ++n;
        EXPECT_LT(n, kMost);
        EXPECT_GT(n, 1u) << "no allocation can fail";
        std::printf("[ matrix   ] %6zu failing allocations\n", n - 1);
    }

private:
    void answerAlways(const Bytes &request, const Bytes &result)
    {
        m_bench.service().always({reinterpret_cast<const char *>(request.data()), request.size()},
                                 wire::result(result));
    }

    /** Whether there was an n-th allocation. */
    bool check(std::size_t n, Memory memory)
    {
        SCOPED_TRACE("allocation " + std::to_string(n));
        bool failed = false;
        {
            Subject subject(m_bench, row().mode);
            const Outcome got = call(subject.handles(), n, memory);
            failed = allocationHasFailed();
            if (failed)
                expectFailure(got);
            else
                EXPECT_EQ(got.outputs, row().outputs);
            expectHandleInOrder(subject.handles());
        }
        m_bench.expectUsual(row());
        m_bench.expectNothingLeft();
        return failed;
    }

    static Outcome call(Handles &handles, std::size_t n, Memory memory)
    {
        const AllocationWatch watch;
        failAllocation(n, memory);
        return row().call(handles);
    }

    static void expectFailure(const Outcome &got)
    {
        const bool specified = std::any_of(
            row().withoutMemory.begin(), row().withoutMemory.end(), [&](const Expected &expected) {
                return got.code == expected.code && got.outputs == expected.outputs.value_or(row().failed);
            });
        EXPECT_TRUE(specified) << "code " << got.code << ", outputs " << got.outputs;
    }

    /** Nothing that the failed call left behind, a lock or an answer, gets into the way of the next. */
    void expectHandleInOrder(const Handles &handles)
    {
        m_bench.service().forget();
        if (handles.pen != nullptr) {
            m_bench.service().then(wire::result(wire::short16(0x1234)));
            std::uint16_t value = 0;
            const std::uint32_t code = zelGetAutoPowerOff(handles.pen, &value);
            EXPECT_TRUE(code == ZEL_OK ? value == 0x1234 : code == ZEL_ERR_COMMUNICATION) << code;
        }
        if (handles.dfu != nullptr) {
            m_bench.service().then(wire::result(wire::int32(0x12345678)));
            std::int32_t state = 0;
            const std::uint32_t code = zelDfuGetState(handles.dfu, &state);
            EXPECT_TRUE(code == ZEL_OK ? state == 0x12345678 : code == ZEL_ERR_COMMUNICATION) << code;
        }
    }

    Bench m_bench;
};

} // namespace

TEST_P(FailingAllocation, OfWhichThereIsOne)
{
    checkEveryAllocation(Memory::FailsOnce);
}

TEST_P(FailingAllocation, AfterWhichAllFail)
{
    checkEveryAllocation(Memory::StaysShort);
}

INSTANTIATE_TEST_SUITE_P(Exports, FailingAllocation, testing::ValuesIn(faultRows()),
                         [](const auto &row) { return row.param.name; });

TEST(MemoryThatIsShort, FirstCallOfAllNeedsNone)
{
    EXPECT_EQ(s_codeOfFirstCall, ZEL_ERR_NOT_INITIALIZED);
}

} // namespace faults
