#include "allocation_watch.h"
#include "every_allocation.h"
#include "fault_rows.h"
#include "subject.h"

#include "dfu/dfu_pen_handle.h"
#include "session/pen_handle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>
#include <string_view>

namespace faults {

namespace {

using zel::test::Answer;
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

/** The calls that exchange nothing but numbers take no memory, so they succeed without any. */
constexpr std::string_view kCallsWithoutMemory[] = {
    "zelRemoveAllStrokes",
    "zelSetTime",
    "zelGetTime",
    "zelSetBluetoothEnabled",
    "zelGetBluetoothEnabled",
    "zelSetBluetoothDiscoverableAllowed",
    "zelGetBluetoothDiscoverableAllowed",
    "zelSetAutoPowerOff",
    "zelGetAutoPowerOff",
    "zelSetWakeUpTime",
    "zelGetWakeUpTime",
    "zelGetPenLockedStatus",
    "zelHasCertificateAuthenticator",
    "zelHasSigningKey",
    "zelClearSigningKey",
    "zelClearCertificate",
    "zelHasEncryptedData",
    "zelClearEncryptedData",
    "zelGetSecureDeleteEnabled",
    "zelDfuDetach",
    "zelDfuDetachBoot",
    "zelDfuClearStatus",
    "zelDfuAbort",
    "zelDfuGetState",
    "zelDfuResetPort",
};

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

    void checkEveryAllocation(Memory memory)
    {
        const bool takesNone =
            std::ranges::find(kCallsWithoutMemory, row().name) != std::end(kCallsWithoutMemory);
        EXPECT_EQ(failures(memory) == 0, takesNone);
    }

    /** The first answer is this one. Many a call takes no memory then. */
    void checkEveryAllocation(Memory memory, const Answer &answer, Fault fault)
    {
        m_answer = &answer;
        m_withFault = row().whenFault(0, fault);
        failures(memory);
    }

private:
    std::size_t failures(Memory memory)
    {
        return failEveryAllocation([&](std::size_t n) { return check(n, memory); });
    }

    void answerAlways(const Bytes &request, const Bytes &result)
    {
        m_bench.service().always({reinterpret_cast<const char *>(request.data()), request.size()},
                                 wire::result(result));
    }

    /** Whether there was an n-th allocation. */
    bool check(std::size_t n, Memory memory)
    {
        bool failed = false;
        {
            Subject subject(m_bench, row().mode);
            const std::size_t asked = m_bench.service().requests().size();
            if (m_answer != nullptr)
                m_bench.service().then(*m_answer);
            const Outcome got = call(subject.handles(), n, memory);
            failed = allocationHasFailed();
            if (failed)
                expectFailure(got);
            else
                EXPECT_TRUE(isAsExpected(got)) << "code " << got.code << ", outputs " << got.outputs;
            expectHandleInOrder(subject.handles(), m_bench.service().requests().size() == asked);
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

    /** As if the memory had sufficed. */
    bool isAsExpected(const Outcome &got) const
    {
        if (m_answer == nullptr)
            return got.code == row().code && got.outputs == row().outputs;
        return got.code == m_withFault.code && got.outputs == m_withFault.outputs.value_or(row().failed);
    }

    void expectFailure(const Outcome &got) const
    {
        const bool specified = std::any_of(
            row().withoutMemory.begin(), row().withoutMemory.end(), [&](const Expected &expected) {
                return got.code == expected.code && got.outputs == expected.outputs.value_or(row().failed);
            });
        EXPECT_TRUE(specified || (m_answer != nullptr && isAsExpected(got)))
            << "code " << got.code << ", outputs " << got.outputs;
    }

    /** Nothing that the failed call left behind, a lock or an answer, gets into the way of the next. A
     *  connection over which the pen was asked nothing has not suffered. */
    void expectHandleInOrder(const Handles &handles, bool unasked)
    {
        m_bench.service().forget();
        if (handles.pen != nullptr) {
            m_bench.service().then(wire::result(wire::short16(0x1234)));
            std::uint16_t value = 0;
            const std::uint32_t code = zelGetAutoPowerOff(handles.pen, &value);
            const bool mayBeLost = handles.pen->client == nullptr || !unasked;
            EXPECT_TRUE(code == ZEL_OK ? value == 0x1234 : mayBeLost && code == ZEL_ERR_COMMUNICATION)
                << code;
        }
        if (handles.dfu != nullptr) {
            m_bench.service().then(wire::result(wire::int32(0x12345678)));
            std::int32_t state = 0;
            const std::uint32_t code = zelDfuGetState(handles.dfu, &state);
            const bool mayBeLost = handles.dfu->client == nullptr || !unasked;
            EXPECT_TRUE(code == ZEL_OK ? state == 0x12345678 : mayBeLost && code == ZEL_ERR_COMMUNICATION)
                << code;
        }
    }

    Bench m_bench;
    const Answer *m_answer = nullptr;
    Expected m_withFault;
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

INSTANTIATE_TEST_SUITE_P(Exports, FailingAllocation, testing::ValuesIn(faultRows()), nameOfRow);
INSTANTIATE_TEST_SUITE_P(Large, FailingAllocation,
                         testing::Values(retrievalOfLargeStrokes(), downloadOfALargeBlock()), nameOfRow);

namespace {

using FailingAllocationAfterAFault = FailingAllocation;

} // namespace

TEST_P(FailingAllocationAfterAFault, OfALockedPen)
{
    checkEveryAllocation(Memory::FailsOnce, {.bytes = wire::status(-9003)}, Fault::Locked);
}

TEST_P(FailingAllocationAfterAFault, OfALostConnection)
{
    checkEveryAllocation(Memory::FailsOnce, zel::test::closing(), Fault::Lost);
}

INSTANTIATE_TEST_SUITE_P(Exports, FailingAllocationAfterAFault, testing::ValuesIn(askingRows()), nameOfRow);

TEST(MemoryThatIsShort, FirstCallOfAllNeedsNone)
{
    EXPECT_EQ(s_codeOfFirstCall, ZEL_ERR_NOT_INITIALIZED);
}

// A new export is to get a row, or a test like those of the functions that start, stop and release.
TEST(MemoryThatIsShort, IsTriedOnEveryExport)
{
    std::set<std::string> tried = {"zelInitialize",
                                   "zelExit",
                                   "zelEnumeratePens",
                                   "zelDfuInit",
                                   "zelDfuExit",
                                   "zelFreeString",
                                   "zelFreePageList",
                                   "zelFreePageData",
                                   "zelDisconnectPen",
                                   "zelDfuDisconnectPen",
                                   "zelFreeDiscoveryHandle",
                                   "zelGetDeviceVidAndPid",
                                   "zelDfuGetMode"};
    for (const FaultRow &row : faultRows())
        tried.insert(row.name.substr(0, row.name.find('_')));

    std::set<std::string> exports;
    std::ifstream list(ZEL_EXPORTS_DEF);
    for (std::string word; list >> word;)
        if (word.starts_with("zel") && word != "zel") // the library's own name comes first
            exports.insert(word);
    EXPECT_EQ(tried, exports);
}

} // namespace faults
