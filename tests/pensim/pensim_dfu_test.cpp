#include "pensim/dfu.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using pensim::Bytes;
using pensim::DfuMachine;
using pensim::DfuState;

using StatusRecord = std::array<std::uint8_t, 6>;

const DfuMachine::Time kStart{};

Bytes block(std::uint16_t number, const Bytes &data)
{
    Bytes bytes = {static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(number >> 8),
                   static_cast<std::uint8_t>(data.size()), static_cast<std::uint8_t>(data.size() >> 8)};
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

pensim::DfuSpec quickSpec()
{
    pensim::DfuSpec spec;
    spec.blockTime = 0ms;
    return spec;
}

DfuMachine withOneBlock(const pensim::DfuSpec &spec)
{
    DfuMachine machine(spec, true);
    EXPECT_TRUE(machine.download(block(0, {1, 2, 3}), kStart));
    machine.getStatus(kStart);
    return machine;
}

TEST(PensimDfu, FunctionalDescriptorIsLittleEndian)
{
    pensim::DfuSpec spec;
    spec.detachTimeout = 0x0102;
    spec.transferSize = 0x0304;
    EXPECT_EQ(DfuMachine(spec, true).functionalDescriptor(),
              (std::array<std::uint8_t, 7>{0x05,          // can download, tolerates manifestation
                                           0x02, 0x01,    // wDetachTimeOut
                                           0x04, 0x03,    // wTransferSize
                                           0x10, 0x01})); // bcdDFUVersion 1.1
    spec.manifestationTolerant = false;
    EXPECT_EQ(DfuMachine(spec, true).functionalDescriptor()[0], 0x01);
}

TEST(PensimDfu, StatusOfAnIdlePen)
{
    DfuMachine machine({}, true);
    EXPECT_EQ(machine.getStatus(kStart), (StatusRecord{0, 0, 0, 0, 2, 0}));
    EXPECT_EQ(machine.getState(kStart), DfuState::idle);
}

TEST(PensimDfu, BlockIsBusyForItsTimeAndThenWritten)
{
    pensim::DfuSpec spec;
    spec.blockTime = 300ms;
    DfuMachine machine(spec, true);
    ASSERT_TRUE(machine.download(block(7, {1, 2, 3}), kStart));
    EXPECT_EQ(machine.getState(kStart), DfuState::downloadSync);
    EXPECT_EQ(machine.getStatus(kStart), (StatusRecord{0, 0x2c, 0x01, 0x00, 4, 0})); // 300 ms in downloadBusy
    EXPECT_EQ(machine.getState(kStart + 300ms), DfuState::downloadSync);
    EXPECT_EQ(machine.getStatus(kStart + 300ms), (StatusRecord{0, 0, 0, 0, 5, 0}));
    EXPECT_EQ(machine.image(), (Bytes{1, 2, 3}));
}

TEST(PensimDfu, RequestWhileBusyIsAnError)
{
    DfuMachine machine({}, true);
    machine.download(block(0, {1}), kStart);
    machine.getStatus(kStart);
    EXPECT_FALSE(machine.getStatus(kStart));
    EXPECT_EQ(machine.getStatus(kStart), (StatusRecord{0x0f, 0, 0, 0, 10, 0}));
}

TEST(PensimDfu, WholeDownloadManifestsAndIsInstalled)
{
    DfuMachine machine = withOneBlock(quickSpec());
    ASSERT_TRUE(machine.download(block(1, {4}), kStart));
    machine.getStatus(kStart);
    ASSERT_TRUE(machine.download(block(2, {}), kStart));
    EXPECT_EQ(machine.state(), DfuState::manifestSync);
    EXPECT_EQ(machine.getStatus(kStart), (StatusRecord{0, 20, 0, 0, 7, 0}));
    EXPECT_FALSE(machine.installed());
    EXPECT_EQ(machine.getState(kStart + 20ms), DfuState::manifestSync);
    EXPECT_TRUE(machine.installed());
    EXPECT_EQ(machine.getStatus(kStart + 20ms), (StatusRecord{0, 0, 0, 0, 2, 0}));
    EXPECT_EQ(machine.image(), (Bytes{1, 2, 3, 4}));
}

TEST(PensimDfu, PenThatDoesNotTolerateManifestationWaitsForItsReset)
{
    pensim::DfuSpec spec = quickSpec();
    spec.manifestationTolerant = false;
    DfuMachine machine = withOneBlock(spec);
    machine.download(block(1, {}), kStart);
    machine.getStatus(kStart);
    EXPECT_FALSE(machine.getState(kStart + 20ms));
    EXPECT_EQ(machine.state(), DfuState::manifestWaitReset);
    machine.reset(kStart + 20ms);
    EXPECT_EQ(machine.state(), DfuState::appIdle);
}

TEST(PensimDfu, BlocksOutOfSequenceAreRefused)
{
    DfuMachine machine = withOneBlock(quickSpec());
    EXPECT_FALSE(machine.download(block(2, {4}), kStart));
    EXPECT_EQ(machine.getStatus(kStart), (StatusRecord{0x08, 0, 0, 0, 10, 0}));
}

TEST(PensimDfu, ImageThatIsTooLargeIsRefused)
{
    pensim::DfuSpec spec = quickSpec();
    spec.transferSize = 32768;
    DfuMachine machine(spec, true);
    const Bytes data(32768, 0x41);
    for (std::uint16_t number = 0; number < 2048; ++number) { // 64 MiB
        ASSERT_TRUE(machine.download(block(number, data), kStart));
        machine.getStatus(kStart);
    }
    EXPECT_FALSE(machine.download(block(2048, {1}), kStart));
    EXPECT_EQ(machine.getStatus(kStart), (StatusRecord{0x08, 0, 0, 0, 10, 0}));
    EXPECT_EQ(machine.image().size(), 64u << 20);
}

TEST(PensimDfu, BlockNumbersWrapAround)
{
    DfuMachine machine(quickSpec(), true);
    machine.download(block(0xffff, {1}), kStart);
    machine.getStatus(kStart);
    EXPECT_TRUE(machine.download(block(0, {2}), kStart));
}

TEST(PensimDfu, BadBlocksStall)
{
    pensim::DfuSpec spec;
    spec.transferSize = 4;
    const Bytes bad[] = {
        {},                        // no header
        {0, 0, 2, 0, 1},           // shorter than it says
        {0, 0, 1, 0, 1, 2},        // longer than it says
        {0, 0, 0, 0},              // the end before any block
        block(0, {1, 2, 3, 4, 5}), // more than the pen takes
    };
    for (const Bytes &bytes : bad) {
        DfuMachine machine(spec, true);
        EXPECT_FALSE(machine.download(bytes, kStart));
        EXPECT_EQ(machine.getStatus(kStart), (StatusRecord{0x0f, 0, 0, 0, 10, 0}));
    }
}

TEST(PensimDfu, ClearStatusLeavesTheErrorState)
{
    DfuMachine machine({}, true);
    EXPECT_FALSE(machine.clearStatus(kStart)); // nothing to clear: itself an error
    EXPECT_EQ(machine.state(), DfuState::error);
    EXPECT_TRUE(machine.clearStatus(kStart));
    EXPECT_EQ(machine.getStatus(kStart), (StatusRecord{0, 0, 0, 0, 2, 0}));
}

TEST(PensimDfu, AbortEndsADownload)
{
    DfuMachine machine = withOneBlock(quickSpec());
    EXPECT_TRUE(machine.abort(kStart));
    EXPECT_EQ(machine.state(), DfuState::idle);
    EXPECT_FALSE(machine.installed());
}

TEST(PensimDfu, ResetAfterHalfADownloadFindsBrokenFirmware)
{
    DfuMachine machine = withOneBlock(quickSpec());
    machine.abort(kStart);
    machine.reset(kStart);
    EXPECT_EQ(machine.getStatus(kStart), (StatusRecord{0x0a, 0, 0, 0, 10, 0}));
    EXPECT_TRUE(machine.dfuMode());
}

TEST(PensimDfu, DetachedPenComesBackInFirmwareUpgradeMode)
{
    DfuMachine machine({}, false);
    EXPECT_EQ(machine.getState(kStart), DfuState::appIdle);
    EXPECT_TRUE(machine.detach(kStart));
    EXPECT_EQ(machine.getState(kStart), DfuState::appDetach);
    machine.reset(kStart + 999ms);
    EXPECT_EQ(machine.state(), DfuState::idle);
    machine.reset(kStart + 999ms);
    EXPECT_EQ(machine.state(), DfuState::appIdle);
}

TEST(PensimDfu, DetachEndsAfterItsTime)
{
    DfuMachine machine({}, false);
    machine.detach(kStart);
    machine.reset(kStart + 1000ms);
    EXPECT_EQ(machine.state(), DfuState::appIdle);
}

TEST(PensimDfu, ApplicationStallsWithoutAnError)
{
    DfuMachine machine({}, false);
    EXPECT_FALSE(machine.download(block(0, {1}), kStart));
    EXPECT_FALSE(machine.abort(kStart));
    EXPECT_EQ(machine.getStatus(kStart), (StatusRecord{0, 0, 0, 0, 0, 0}));
}

TEST(PensimDfu, BlockThatCannotBeWrittenFailsItsStatus)
{
    pensim::DfuSpec spec = quickSpec();
    spec.failAtBlock = 1;
    DfuMachine machine = withOneBlock(spec);
    EXPECT_EQ(machine.state(), DfuState::downloadIdle);
    EXPECT_TRUE(machine.download(block(1, {4}), kStart));
    EXPECT_EQ(machine.getStatus(kStart), (StatusRecord{0x03, 0, 0, 0, 10, 0}));
}

} // namespace
