#include "e2e/host.h"

#include "support/log_capture.h"

#include <atomic>
#include <functional>
#include <thread>

namespace {

using namespace zel::test;
using namespace std::chrono_literals;
using pensim::Reply;
namespace instruction = pensim::instruction;

constexpr std::uint64_t kPenId = 7;
constexpr std::uint64_t kFirmwarePen = 8;

/** What a host does with a record on the library's thread, and how far it came. */
struct Reaction {
    std::function<void(const DiscoveryHandle *)> body;
    std::atomic<int> begun{0};
    std::atomic<int> ended{0};

    static void run(DiscoveryHandle *record, void *context)
    {
        auto &reaction = *static_cast<Reaction *>(context);
        ++reaction.begun;
        reaction.body(record);
        EXPECT_EQ(zelFreeDiscoveryHandle(&record), ZEL_OK);
        ++reaction.ended;
    }
};

bool waitFor(const std::atomic<int> &counter, int value)
{
    for (auto waited = 0ms; counter < value && waited < kPatience; waited += 1ms)
        std::this_thread::sleep_for(1ms);
    return counter >= value;
}

void ignore(DiscoveryHandle *record, void *)
{
    zelFreeDiscoveryHandle(&record);
}

std::uint32_t initialize(Reaction &arrival)
{
    return zelInitialize(Reaction::run, ignore, &arrival);
}

std::uint32_t dfuInit(Reaction &arrival)
{
    return zelDfuInit(&arrival, Reaction::run, ignore);
}

pensim::Scenario bothPens()
{
    return {{penOf(kPenId), penOf(kFirmwarePen, Mode::firmwareUpgrade)}, {}};
}

void drivePen(const DiscoveryHandle *record)
{
    PenHandle *pen = nullptr;
    EXPECT_EQ(zelConnectPen(record, &pen), ZEL_OK);
    char *name = nullptr;
    EXPECT_EQ(zelGetPenProductName(pen, &name), ZEL_OK);
    EXPECT_EQ(takeText(name), "Simulated pen");
    EXPECT_EQ(zelDisconnectPen(&pen), ZEL_OK);
}

void driveFirmwarePen(const DiscoveryHandle *record)
{
    DfuPenHandle *pen = nullptr;
    EXPECT_EQ(zelDfuConnectPen(&pen, record), ZEL_OK);
    std::int32_t state = -1;
    EXPECT_EQ(zelDfuGetState(pen, &state), ZEL_OK);
    EXPECT_EQ(state, 2); // idle
    EXPECT_EQ(zelDfuDisconnectPen(&pen), ZEL_OK);
}

class Callback : public testing::Test
{
protected:
    Callback() : m_service({}, bothPens()) { m_service.start(); }

    pensim::Service m_service;
};

TEST_F(Callback, MayDriveThePenItReports)
{
    Reaction arrival{drivePen};
    Reaction dfuArrival{driveFirmwarePen};
    ASSERT_EQ(initialize(arrival), ZEL_OK);
    ASSERT_EQ(dfuInit(dfuArrival), ZEL_OK);
    EXPECT_TRUE(waitFor(arrival.ended, 1));
    EXPECT_TRUE(waitFor(dfuArrival.ended, 1));
    EXPECT_EQ(zelExit(), ZEL_OK);
    EXPECT_EQ(zelDfuExit(), ZEL_OK);
}

TEST_F(Callback, MayStartAndStopTheOtherMode)
{
    Reaction dfuArrival{driveFirmwarePen};
    Reaction arrival{[&](const DiscoveryHandle *) {
        EXPECT_EQ(dfuInit(dfuArrival), ZEL_OK);
        EXPECT_TRUE(waitFor(dfuArrival.ended, 1));
        EXPECT_EQ(zelDfuExit(), ZEL_OK);
    }};
    ASSERT_EQ(initialize(arrival), ZEL_OK);
    EXPECT_TRUE(waitFor(arrival.ended, 1));
    EXPECT_EQ(zelExit(), ZEL_OK);
}

// Within the limit of a stop, what the callback has begun on a pen is brought to its end.
TEST_F(Callback, IsWaitedForByEnumerationAndExit)
{
    m_service.pen(kPenId).onInstruction(instruction::lockStatus, Reply::normal().after(100ms));
    Reaction arrival{drivePen};
    ASSERT_EQ(initialize(arrival), ZEL_OK);
    EXPECT_TRUE(waitFor(arrival.begun, 1));
    EXPECT_EQ(zelEnumeratePens(), ZEL_OK);
    EXPECT_EQ(arrival.ended, 1);
    EXPECT_TRUE(waitFor(arrival.begun, 2));
    EXPECT_EQ(zelExit(), ZEL_OK);
    EXPECT_EQ(arrival.ended, 2);
}

// One hangs in the library itself, on a pen that never answers, one in a wait of the host's own. Both are
// stopped at once, for the limit of a stop is long.
TEST_F(Callback, ThatBlocksPastTheLimitIsStoppedWhereItStands)
{
    m_service.pen(kPenId).onInstruction(instruction::lockStatus, Reply::silence(), 1);
    // A thread that was stopped never lets go of what it had: its host must not go away.
    static Reaction s_arrival{drivePen};
    static Reaction s_dfuArrival{[](const DiscoveryHandle *) { std::this_thread::sleep_for(1h); }};
    s_arrival.ended = 0;
    s_dfuArrival.begun = 0;
    ASSERT_EQ(initialize(s_arrival), ZEL_OK);
    ASSERT_EQ(dfuInit(s_dfuArrival), ZEL_OK);
    EXPECT_TRUE(m_service.pen(kPenId).waitForRequests(instruction::lockStatus, 1, kPatience));
    EXPECT_TRUE(waitFor(s_dfuArrival.begun, 1));
    const LogCapture log;
    std::thread otherStop([] { EXPECT_EQ(zelDfuExit(), ZEL_OK); });
    EXPECT_EQ(zelEnumeratePens(), ZEL_OK);
    otherStop.join();
    if (log.available()) {
        EXPECT_TRUE(log.contains("*** RendezvousThread refused to stop and was killed ***"));
        EXPECT_TRUE(log.contains("*** CDfuRendezvousThread refused to stop and was killed ***"));
    }

    EXPECT_TRUE(waitFor(s_arrival.ended, 1)) << "the pen arrives anew, and answers";
    Host firmware(Mode::firmwareUpgrade);
    driveFirmwarePen(firmware.record(kFirmwarePen));
    m_service.pen(kPenId).closeConnections(pensim::Ending::close);
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(s_arrival.ended, 1) << "the wait has ended, yet the thread stays stopped";
    EXPECT_EQ(s_dfuArrival.ended, 0);
    EXPECT_EQ(zelExit(), ZEL_OK);
}

} // namespace
