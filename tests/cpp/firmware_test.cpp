#include <zel/firmware.hpp>

#include "host_pens.h"

#include <array>
#include <atomic>
#include <stdexcept>
#include <thread>

namespace cpphost {
namespace {

using pensim::Ending;
using pensim::Reply;
using zelpp::DfuState;
namespace instruction = pensim::instruction;

constexpr std::size_t kBlock = 64;

pensim::PenSpec firmwarePen(std::uint64_t id = kPenId)
{
    pensim::PenSpec spec;
    spec.id = id;
    spec.dfuMode = true;
    spec.dfu.transferSize = kBlock;
    return spec;
}

/** An answer to the question for the status. */
Reply statusRecord(std::uint8_t status, std::uint8_t state)
{
    return Reply::withValue(pensim::Value::binary({status,           //
                                                   0x00, 0x00, 0x00, // no pause
                                                   state,            //
                                                   0x00}));          // string index
}

class CppFirmware : public testing::Test
{
protected:
    void SetUp() override { m_service.start(); }

    pensim::Pen &dock(const pensim::PenSpec &spec = firmwarePen()) { return m_service.dock(spec); }
    zelpp::DfuPen connect() { return m_library.connect(m_library.wait(kPatience)); }

    pensim::Service m_service;
    zelpp::DfuLibrary m_library;
};

TEST_F(CppFirmware, PensInThatModeAreListed)
{
    dock();
    pensim::PenSpec other;
    other.id = 7;
    m_service.dock(other);
    const zelpp::PenInfo info = m_library.wait(kSerial, kPatience);
    EXPECT_EQ(info.penId, kPenId);
    EXPECT_TRUE(info.firmwareUpgrade);
    EXPECT_EQ(m_library.discover(kPatience).size(), 1u);
    const zelpp::Library ordinary;
    EXPECT_EQ(ordinary.wait(kPatience).penId, 7u) << "both modes at once";
}

TEST_F(CppFirmware, WholeImageReachesThePen)
{
    pensim::Pen &pen = dock();
    const Bytes image = pensim::generatedStrokes(20 * kBlock + 17, 1);
    std::vector<std::uint64_t> sent;
    bool isComplete = true;
    connect().download(image, [&](const zelpp::DownloadProgress &progress) {
        if (progress.isComplete)
            return;
        isComplete = false;
        sent.push_back(progress.bytesSent);
        EXPECT_EQ(progress.bytesTotal, image.size());
        EXPECT_EQ(progress.blocks, 21u);
        EXPECT_EQ(progress.blocksSent, (progress.bytesSent + kBlock - 1) / kBlock);
    });
    EXPECT_EQ(pen.firmwareImage(), image);
    EXPECT_TRUE(pen.firmwareInstalled());
    ASSERT_EQ(sent.size(), 22u);
    EXPECT_EQ(sent.front(), 0u);
    EXPECT_EQ(sent.back(), image.size());
    EXPECT_FALSE(isComplete);
}

TEST_F(CppFirmware, CallbackHearsOnceTheImageIsComplete)
{
    pensim::Pen &pen = dock();
    std::vector<bool> complete;
    connect().download(Bytes(kBlock, 0xaa), [&](const zelpp::DownloadProgress &progress) {
        complete.push_back(progress.isComplete);
        EXPECT_EQ(progress.blocks, 1u);
        EXPECT_EQ(pen.requestCount(instruction::dfuDownload), progress.isComplete ? 2u : progress.blocksSent);
    });
    EXPECT_EQ(complete, (std::vector<bool>{false, false, true}));
}

TEST_F(CppFirmware, PenThatMustBeResetAfterwardsIs)
{
    pensim::PenSpec spec = firmwarePen();
    spec.dfu.manifestationTolerant = false;
    pensim::Pen &pen = dock(spec);
    const zelpp::Library ordinary;
    connect().download(Bytes(kBlock, 0xaa));
    EXPECT_TRUE(pen.firmwareInstalled());
    EXPECT_EQ(ordinary.wait(kSerial, kPatience).penId, kPenId) << "it runs its firmware";
}

TEST_F(CppFirmware, WhatAnEarlierDownloadLeftBehindIsClearedAway)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    connected.sendBlock(0, Bytes(kBlock, 0x11));
    std::this_thread::sleep_for(connected.status().pollTimeout);
    ASSERT_EQ(connected.status().state, DfuState::downloadIdle);
    const Bytes image(2 * kBlock, 0x22);
    connected.download(image);
    EXPECT_EQ(pen.firmwareImage(), image);

    EXPECT_THROW(connected.detach(), zelpp::Error) << "it is detached already";
    EXPECT_EQ(connected.state(), DfuState::error);
    connected.download(image);
    EXPECT_EQ(pen.firmwareImage(), image);
}

TEST_F(CppFirmware, PenThatCannotWriteABlockTellsWhy)
{
    pensim::PenSpec spec = firmwarePen();
    spec.dfu.failAtBlock = 2;
    dock(spec);
    zelpp::DfuPen pen = connect();
    const zelpp::Result<void> result = pen.tryDownload(Bytes(5 * kBlock, 0xaa));
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code(), Errc::downloadFailed);
    EXPECT_STREQ(result.error().what(),
                 "download (the pen stopped after 128 bytes: the memory cannot be written; "
                 "status 3, dfuERROR): The pen did not take the firmware.");
}

TEST_F(CppFirmware, PenThatReportsAFaultInAnyStateHasFailed)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    pen.onInstruction(instruction::dfuGetStatus, statusRecord(0x03, 0x05),
                      3); // after a block: dfuDNLOAD-IDLE
    EXPECT_EQ(connected.tryDownload(Bytes(kBlock, 0xaa)).error().detail(),
              "the pen stopped after 0 bytes: the memory cannot be written; status 3, dfuDNLOAD-IDLE");
}

TEST_F(CppFirmware, PenThatGotAnUnexpectedRequestIsSuspectedToBeDisturbed)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    pen.onInstruction(instruction::dfuGetStatus, statusRecord(0x0f, 0x0a), 3); // after a block: dfuERROR
    EXPECT_EQ(connected.tryDownload(Bytes(kBlock, 0xaa)).error().detail(),
              "the pen stopped after 0 bytes: an unexpected request; status 15, dfuERROR; "
              "did another program ask the pen meanwhile?");
}

TEST_F(CppFirmware, PenThatIsBusyIsAskedAgain)
{
    for (const std::uint8_t busy :
         std::array<std::uint8_t, 3>{3, 4, 6}) { // dfuDNLOAD-SYNC, dfuDNBUSY, dfuMANIFEST-SYNC
        pensim::Pen &pen = dock(firmwarePen(busy));
        zelpp::DfuPen connected = m_library.connect(m_library.wait(zelpp::serialText(busy), kPatience));
        pen.onInstruction(instruction::dfuGetStatus, statusRecord(0x00, busy), busy == 6 ? 4 : 3);
        const zelpp::Result<void> result = connected.tryDownload(Bytes(kBlock, 0xaa));
        EXPECT_TRUE(result) << zelpp::dfuStateName(DfuState{busy}) << ": " << result.error().what();
        EXPECT_TRUE(pen.firmwareInstalled());
    }
}

/** Downloads an image to a pen that says then that it waits for a reset. */
zelpp::Result<void> downloadUntilReset(pensim::Pen &pen, zelpp::DfuPen &connected)
{
    return connected.tryDownload(Bytes(kBlock, 0xaa), [&](const zelpp::DownloadProgress &progress) {
        if (progress.isComplete)
            pen.onInstruction(instruction::dfuGetStatus, statusRecord(0x00, 0x08)); // dfuMANIFEST-WAIT-RESET
    });
}

TEST_F(CppFirmware, PenThatWaitsForAResetAfterTheImageGetsIt)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    EXPECT_TRUE(downloadUntilReset(pen, connected));
    EXPECT_EQ(pen.requestCount(instruction::dfuResetPort), 1u);
}

TEST_F(CppFirmware, ConnectionLostAtTheResetIsNoFailure)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    pen.onInstruction(instruction::dfuResetPort, Reply::closing());
    EXPECT_TRUE(downloadUntilReset(pen, connected));
    EXPECT_THROW(connected.state(), zelpp::CommunicationError);
}

TEST_F(CppFirmware, PenThatRefusesTheResetHasNotTakenTheImageToUse)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    pen.onInstruction(instruction::dfuResetPort, Reply::withStatus(-1));
    const zelpp::Result<void> result = downloadUntilReset(pen, connected);
    ASSERT_FALSE(result);
    EXPECT_STREQ(result.error().operation(), "zelDfuResetPort");
}

TEST_F(CppFirmware, PenThatGivesAnImageIsToldToStop)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    pen.onInstruction(instruction::dfuGetStatus, statusRecord(0x00, 0x09), 1); // dfuUPLOAD-IDLE
    connected.download(Bytes(kBlock, 0xaa));
    EXPECT_EQ(pen.requestCount(instruction::dfuAbort), 1u);
    EXPECT_TRUE(pen.firmwareInstalled());
}

TEST_F(CppFirmware, PenThatCannotBeMadeReadyGetsNoImage)
{
    struct Case {
        std::uint8_t state; // at the first question
        std::uint32_t refused;
        std::size_t occurrence;
        const char *operation;
    };
    const Case cases[] = {
        {0x02, instruction::dfuFunctionalDescriptor, 1, "zelDfuGetFunctionalDescriptor"},
        {0x02, instruction::dfuGetStatus, 1, "zelDfuGetStatus"},
        {0x02, instruction::dfuGetStatus, 2, "zelDfuGetStatus"},
        {0x0a, instruction::dfuClearStatus, 1, "zelDfuClearStatus"},
        {0x05, instruction::dfuAbort, 1, "zelDfuAbort"},
    };
    for (std::uint64_t id = 1; const Case &one : cases) {
        pensim::Pen &pen = dock(firmwarePen(id));
        zelpp::DfuPen connected = m_library.connect(m_library.wait(zelpp::serialText(id++), kPatience));
        pen.onInstruction(instruction::dfuGetStatus, statusRecord(0x00, one.state), 1);
        pen.onInstruction(one.refused, Reply::withStatus(-1), one.occurrence);
        const zelpp::Result<void> result = connected.tryDownload(Bytes(kBlock, 0xaa));
        ASSERT_FALSE(result);
        EXPECT_STREQ(result.error().operation(), one.operation) << id;
        EXPECT_EQ(pen.requestCount(instruction::dfuDownload), 0u) << id;
    }
}

TEST_F(CppFirmware, PenThatInstallsAnImageIsNotReadyForAnother)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    pen.onInstruction(instruction::dfuGetStatus, statusRecord(0x00, 0x07)); // dfuMANIFEST
    EXPECT_EQ(connected.tryDownload(Bytes(kBlock, 0xaa)).error().detail(),
              "the pen is not ready for an image: it is in dfuMANIFEST");
    EXPECT_EQ(pen.requestCount(instruction::dfuDownload), 0u);
}

TEST_F(CppFirmware, PenThatRefusesTheEndOfTheImageHasNotGotIt)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    pen.onInstruction(instruction::dfuDownload, Reply::withStatus(-1), 2);
    const zelpp::Result<void> result =
        connected.tryDownload(Bytes(kBlock, 0xaa), [](const zelpp::DownloadProgress &progress) {
            EXPECT_FALSE(progress.isComplete);
        });
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code(), Errc::downloadFailed);
}

TEST_F(CppFirmware, PenThatAnotherProgramDisturbedIsSuspectedToBe)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    pen.onInstruction(instruction::dfuGetStatus,
                      Reply::withValue(pensim::Value::binary({0x00,             // no error
                                                              0x00, 0x00, 0x00, // no pause
                                                              0x02,             // dfuIDLE
                                                              0x00})),          // string index
                      3);                                                       // the first after a block
    EXPECT_EQ(connected.tryDownload(Bytes(kBlock, 0xaa)).error().detail(),
              "the pen stopped after 0 bytes: no error; status 0, dfuIDLE; "
              "did another program ask the pen meanwhile?");
}

TEST_F(CppFirmware, PenThatRefusesABlockIsSuspectedToBeDisturbed)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    pen.onInstruction(instruction::dfuDownload, Reply::withStatus(-1));
    const zelpp::Result<void> refused = connected.tryDownload(Bytes(kBlock, 0xaa));
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().code(), Errc::downloadFailed);
    EXPECT_EQ(refused.error().detail(),
              "the pen did not take a block; did another program ask the pen meanwhile?");
}

TEST_F(CppFirmware, PenThatNamesNoBlockSizeGetsBlocksOf1024Bytes)
{
    pensim::PenSpec spec = firmwarePen();
    spec.dfu.transferSize = 4096;
    pensim::Pen &pen = dock(spec);
    pen.onInstruction(instruction::dfuFunctionalDescriptor,
                      Reply::withValue(pensim::Value::binary({0x05,           // takes images, tolerant
                                                              0xe8, 0x03,     // detach timeout 1000 ms
                                                              0x00, 0x00,     // transfer size: none
                                                              0x10, 0x01}))); // version 1.1
    const Bytes image(2 * 1024 + 1, 0xaa);
    connect().download(image, [](const zelpp::DownloadProgress &progress) {
        EXPECT_EQ(progress.blocks, 3u);
        EXPECT_EQ(progress.bytesSent, std::min<std::uint64_t>(progress.blocksSent * 1024, 2049));
    });
    EXPECT_EQ(pen.firmwareImage(), image);
}

TEST_F(CppFirmware, PenThatDoesNotInstallACompleteImageHasFailed)
{
    pensim::Pen &pen = dock();
    const zelpp::Result<void> result =
        connect().tryDownload(Bytes(kBlock, 0xaa), [&](const zelpp::DownloadProgress &progress) {
            if (progress.isComplete)
                pen.onInstruction(instruction::dfuGetStatus,
                                  Reply::withValue(pensim::Value::binary({0x00, 0x00, 0x00, 0x00,
                                                                          0x05, // dfuDNLOAD-IDLE
                                                                          0x00})));
        });
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code(), Errc::downloadFailed);
    EXPECT_EQ(result.error().detail().rfind(
                  "the pen stopped after 64 bytes: no error; status 0, dfuDNLOAD-IDLE", 0),
              0u);
}

TEST_F(CppFirmware, CallbackThatSaysNoGivesTheDownloadUp)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    const zelpp::Result<void> result =
        connected.tryDownload(Bytes(5 * kBlock, 0xaa), [](const zelpp::DownloadProgress &progress) {
            return progress.blocksSent < 2;
        });
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code(), Errc::cancelled);
    EXPECT_EQ(pen.requestCount(instruction::dfuAbort), 1u);
    EXPECT_EQ(connected.state(), DfuState::idle);
    EXPECT_FALSE(pen.firmwareInstalled());
}

TEST_F(CppFirmware, ExceptionOfTheCallbackGivesTheDownloadUp)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    EXPECT_THROW(
        connected.download(Bytes(5 * kBlock, 0xaa),
                           [](const zelpp::DownloadProgress &) { throw std::out_of_range("its own"); }),
        std::out_of_range);
    EXPECT_EQ(pen.requestCount(instruction::dfuAbort), 1u);
    EXPECT_EQ(connected.state(), DfuState::idle);
}

TEST_F(CppFirmware, ImageThatIsCompleteIsNotGivenUp)
{
    pensim::PenSpec spec = firmwarePen();
    spec.dfu.manifestTime = 1h;
    pensim::Pen &pen = dock(spec);
    zelpp::DfuPen connected = connect();
    const zelpp::Result<void> result = connected.tryDownload(
        Bytes(kBlock, 0xaa), [](const zelpp::DownloadProgress &progress) { return !progress.isComplete; });
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code(), Errc::cancelled);
    EXPECT_EQ(result.error().detail(), "the pen has the whole image already");
    EXPECT_EQ(pen.requestCount(instruction::dfuAbort), 0u);
}

TEST_F(CppFirmware, CallbackThatSaysNoIsAskedNothingMore)
{
    pensim::PenSpec spec = firmwarePen();
    spec.dfu.blockTime = 1s; // the callback hears of the pause every 100 ms
    pensim::Pen &pen = dock(spec);
    int calls = 0;
    const zelpp::Result<void> result = connect().tryDownload(
        Bytes(kBlock, 0xaa), [&](const zelpp::DownloadProgress &) { return ++calls < 3; });
    EXPECT_EQ(result.error().code(), Errc::cancelled);
    EXPECT_EQ(calls, 3);
    EXPECT_EQ(pen.requestCount(instruction::dfuAbort), 1u);
}

TEST_F(CppFirmware, HostThatStopsWaitingForACompleteImageAsksThePenNothingMore)
{
    pensim::PenSpec spec = firmwarePen();
    spec.dfu.manifestationTolerant = false;
    pensim::Pen &pen = dock(spec);
    zelpp::DfuPen connected = connect();
    std::size_t questions = 0;
    const zelpp::Result<void> result =
        connected.tryDownload(Bytes(kBlock, 0xaa), [&](const zelpp::DownloadProgress &progress) {
            questions = pen.requestCount(instruction::dfuGetStatus);
            return !progress.isComplete;
        });
    EXPECT_EQ(result.error().code(), Errc::cancelled);
    EXPECT_EQ(pen.requestCount(instruction::dfuGetStatus), questions);
}

TEST_F(CppFirmware, PenThatStillInstallsTheImageIsNotResetOnceTheHostStopsWaiting)
{
    pensim::PenSpec spec = firmwarePen();
    spec.dfu.manifestationTolerant = false;
    spec.dfu.manifestTime = 1h;
    pensim::Pen &pen = dock(spec);
    zelpp::DfuPen connected = connect();
    int calls = 0;
    const zelpp::Result<void> result =
        connected.tryDownload(Bytes(kBlock, 0xaa), [&](const zelpp::DownloadProgress &progress) {
            return !progress.isComplete || ++calls < 3; // the first call is before the pause
        });
    EXPECT_EQ(result.error().code(), Errc::cancelled);
    EXPECT_EQ(pen.requestCount(instruction::dfuResetPort), 0u);
}

TEST_F(CppFirmware, StopEndsTheShortPausesOfAPenThatStaysBusy)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    zelpp::DownloadStop stop;
    std::atomic<int> questions{0};
    pen.onInstruction(instruction::dfuGetStatus, [&](const pensim::Request &) {
        if (++questions <= 2) // before the first block
            return Reply::normal();
        if (questions == 10)
            stop.request();
        return questions < 100 ? statusRecord(0x00, 0x04) : Reply::normal(); // dfuDNBUSY
    });
    const zelpp::Result<void> result = connected.tryDownload(Bytes(kBlock, 0xaa), stop);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code(), Errc::cancelled);
    EXPECT_LT(questions, 100);
}

TEST(CppDownloadStop, RequestWakesWhoWaitsForIt)
{
    zelpp::DownloadStop stop;
    const auto began = std::chrono::steady_clock::now();
    std::thread later([&] {
        std::this_thread::sleep_for(50ms);
        stop.request();
    });
    EXPECT_TRUE(stop.waitFor(kPatience));
    EXPECT_LT(std::chrono::steady_clock::now() - began, kPatience);
    later.join();
}

TEST_F(CppFirmware, ExceptionDoesNotGiveUpACompleteImage)
{
    pensim::Pen &pen = dock();
    EXPECT_THROW(connect().download(Bytes(kBlock, 0xaa),
                                    [](const zelpp::DownloadProgress &progress) {
                                        if (progress.isComplete)
                                            throw std::out_of_range("its own");
                                    }),
                 std::out_of_range);
    EXPECT_EQ(pen.requestCount(instruction::dfuAbort), 0u);
}

TEST_F(CppFirmware, StopOfAnotherThreadEndsAPauseThatThePenAskedFor)
{
    pensim::PenSpec spec = firmwarePen();
    spec.dfu.blockTime = 1h;
    pensim::Pen &pen = dock(spec);
    zelpp::DfuPen connected = connect();
    zelpp::DownloadStop stop;
    std::thread stopper;
    int calls = 0;
    const zelpp::Result<void> result =
        connected.tryDownload(Bytes(kBlock, 0xaa), stop, [&](const zelpp::DownloadProgress &progress) {
            EXPECT_FALSE(progress.isComplete);
            if (++calls == 3) // the first was before the block, all others are in the pause
                stopper = std::thread([&] { stop.request(); });
        });
    ASSERT_TRUE(stopper.joinable());
    stopper.join();
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code(), Errc::cancelled);
    EXPECT_EQ(result.error().detail(), "the pen was told to give up the image");
    EXPECT_EQ(connected.state(), DfuState::idle);
    EXPECT_EQ(pen.requestCount(instruction::dfuClearStatus), 1u) << "a busy pen takes an abort for an error";
}

TEST_F(CppFirmware, StopThatCameBeforehandSendsNothing)
{
    pensim::Pen &pen = dock();
    zelpp::DownloadStop stop;
    EXPECT_FALSE(stop.isRequested());
    stop.request();
    EXPECT_TRUE(stop.isRequested());
    EXPECT_EQ(thrown([&] { connect().download(Bytes(kBlock, 0xaa), stop); }), Errc::cancelled);
    EXPECT_EQ(pen.requestCount(instruction::dfuDownload), 0u);
}

TEST_F(CppFirmware, PenThatCannotBeToldToGiveUpIsSaidToBeOne)
{
    pensim::Pen &pen = dock();
    pen.onInstruction(instruction::dfuAbort, Reply::withStatus(-1));
    const zelpp::Result<void> result =
        connect().tryDownload(Bytes(kBlock, 0xaa), [](const zelpp::DownloadProgress &) { return false; });
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().detail(), "the pen could not be told to give up the image");
}

TEST_F(CppFirmware, PenThatLeavesInTheMiddleIsALostConnection)
{
    dock();
    zelpp::DfuPen pen = connect();
    EXPECT_THROW(pen.download(Bytes(5 * kBlock, 0xaa),
                              [&](const zelpp::DownloadProgress &progress) {
                                  if (progress.blocksSent == 2)
                                      m_service.undock(kPenId);
                              }),
                 zelpp::CommunicationError);
    zelpp::Events events = m_library.events();
    while (!m_library.pens().empty())
        events.next(kPatience);
    EXPECT_EQ(thrown([&] { m_library.connect(pen.info()); }), Errc::noPen);
}

TEST_F(CppFirmware, ImageThatCannotBeSentIsRefusedBeforehand)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    EXPECT_EQ(connected.tryDownload({}).error().code(), Errc::invalidArgument);
    pen.onInstruction(instruction::dfuFunctionalDescriptor,
                      Reply::withValue(pensim::Value::binary({0x00, 0, 0, 0, 0, 0, 0}))); // takes none
    EXPECT_EQ(connected.tryDownload(Bytes(1, 0)).error().code(), Errc::notSupported);
    EXPECT_EQ(pen.requestCount(instruction::dfuDownload), 0u);
}

TEST_F(CppFirmware, DescriptorAndStatusAreReadFieldByField)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    pen.onInstruction(instruction::dfuFunctionalDescriptor,
                      Reply::withValue(pensim::Value::binary({0x05,          // takes images, tolerant
                                                              0xe8, 0x03,    // detach timeout 1000 ms
                                                              0x40, 0x01,    // transfer size 320
                                                              0x10, 0x01})), // version 1.1
                      1);
    pen.onInstruction(instruction::dfuFunctionalDescriptor,
                      Reply::withValue(pensim::Value::binary({0x07, 0x21,    // length, type
                                                              0x02,          // gives images
                                                              0x01, 0x00,    // detach timeout 1 ms
                                                              0x00, 0x10})), // transfer size 4096
                      2);
    pen.onInstruction(instruction::dfuGetStatus,
                      Reply::withValue(pensim::Value::binary({0x08,             // an address is out of range
                                                              0x01, 0x02, 0x03, // 0x030201 ms
                                                              0x0a,             // dfuERROR
                                                              0x05})),          // string index
                      1);
    const zelpp::DfuDescriptor bare = connected.descriptor();
    EXPECT_TRUE(bare.canDownload());
    EXPECT_FALSE(bare.canUpload());
    EXPECT_TRUE(bare.isManifestationTolerant());
    EXPECT_EQ(bare.detachTimeout, 1000ms);
    EXPECT_EQ(bare.transferSize, 320);
    const zelpp::DfuDescriptor headed = connected.descriptor();
    EXPECT_FALSE(headed.canDownload());
    EXPECT_TRUE(headed.canUpload());
    EXPECT_FALSE(headed.isManifestationTolerant());
    EXPECT_EQ(headed.detachTimeout, 1ms);
    EXPECT_EQ(headed.transferSize, 4096);
    const zelpp::DfuStatus status = connected.status();
    EXPECT_TRUE(status.failed());
    EXPECT_STREQ(zelpp::dfuStatusText(status.status), "an address is out of range");
    EXPECT_EQ(status.pollTimeout, std::chrono::milliseconds(0x030201));
    EXPECT_EQ(status.state, DfuState::error);
    EXPECT_STREQ(zelpp::dfuStateName(status.state), "dfuERROR");
    EXPECT_EQ(status.stringIndex, 5);
}

TEST_F(CppFirmware, DescriptorCountsAsHeadedOnlyWithBothLengthAndType)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    pen.onInstruction(instruction::dfuFunctionalDescriptor,
                      Reply::withValue(pensim::Value::binary({0x07,          // attributes, all three
                                                              0xe8, 0x03,    // detach timeout 1000 ms
                                                              0x40, 0x00,    // transfer size 64
                                                              0x10, 0x01})), // version 1.1
                      1);
    pen.onInstruction(instruction::dfuFunctionalDescriptor,
                      Reply::withValue(pensim::Value::binary({0x05,          // takes images, tolerant
                                                              0x21, 0x00,    // detach timeout 33 ms
                                                              0x40, 0x00,    // transfer size 64
                                                              0x10, 0x01})), // version 1.1
                      2);
    EXPECT_EQ(connected.descriptor().detachTimeout, 1000ms);
    EXPECT_EQ(connected.descriptor().detachTimeout, 33ms);
}

TEST(CppFirmwareTexts, StatesHaveTheNamesOfTheDeviceClass)
{
    const char *const names[] = {
        "appIDLE",        "appDETACH",        "dfuIDLE",     "dfuDNLOAD-SYNC",         "dfuDNBUSY",
        "dfuDNLOAD-IDLE", "dfuMANIFEST-SYNC", "dfuMANIFEST", "dfuMANIFEST-WAIT-RESET", "dfuUPLOAD-IDLE",
        "dfuERROR",
    };
    for (std::uint8_t state = 0; state <= 10; ++state)
        EXPECT_STREQ(zelpp::dfuStateName(DfuState{state}), names[state]);
    EXPECT_STREQ(zelpp::dfuStateName(DfuState{11}), "unknown state");
}

TEST(CppFirmwareTexts, StatusHasATextFrom0To15)
{
    EXPECT_STREQ(zelpp::dfuStatusText(0), "no error");
    EXPECT_STREQ(zelpp::dfuStatusText(15), "an unexpected request");
    EXPECT_STREQ(zelpp::dfuStatusText(16), "unknown fault");
}

TEST(CppFirmwareTexts, FaultAndErrorStateEachAreAFailure)
{
    EXPECT_FALSE((zelpp::DfuStatus{0, {}, DfuState::downloadIdle, 0}.failed()));
    EXPECT_TRUE((zelpp::DfuStatus{3, {}, DfuState::downloadIdle, 0}.failed()));
    EXPECT_TRUE((zelpp::DfuStatus{0, {}, DfuState::error, 0}.failed()));
}

TEST_F(CppFirmware, RequestsReachThePen)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    EXPECT_EQ(connected.serial(), kSerial);
    connected.tryAbort().value();
    EXPECT_FALSE(connected.tryClearStatus()) << "there is no error to clear";
    EXPECT_FALSE(connected.tryDetachToBootLoader());
    EXPECT_EQ(connected.trySendBlock(0, Bytes(65536, 0)).error().code(), Errc::invalidArgument);
    connected.clearStatus();
    connected.resetPort();
    for (const std::uint32_t code :
         {instruction::dfuAbort, instruction::dfuDetachBoot, instruction::dfuResetPort})
        EXPECT_EQ(pen.requestCount(code), 1u);
    EXPECT_EQ(pen.requestCount(instruction::dfuClearStatus), 2u);
    EXPECT_THROW(connected.abort(), zelpp::CommunicationError);
    connected.disconnect();
    EXPECT_EQ(connected.tryAbort().error().code(), Errc::invalidArgument);
}

TEST_F(CppFirmware, LongestBlockIsSentWhole)
{
    pensim::Pen &pen = dock();
    zelpp::DfuPen connected = connect();
    (void)connected.trySendBlock(0, Bytes(65535, 0xaa)); // more than the pen takes
    EXPECT_EQ(pen.requestCount(instruction::dfuDownload), 1u);
}

TEST_F(CppFirmware, OperationThatFailsIsNamed)
{
    dock();
    zelpp::DfuPen pen = connect();
    pen.disconnect();
    EXPECT_STREQ(pen.tryStatus().error().operation(), "zelDfuGetStatus");
    EXPECT_STREQ(pen.tryState().error().operation(), "zelDfuGetState");
    EXPECT_STREQ(pen.tryDescriptor().error().operation(), "zelDfuGetFunctionalDescriptor");
    EXPECT_STREQ(pen.trySendBlock(0, {}).error().operation(), "zelDfuDownload");
    EXPECT_STREQ(pen.tryAbort().error().operation(), "zelDfuAbort");
    EXPECT_STREQ(pen.tryClearStatus().error().operation(), "zelDfuClearStatus");
    EXPECT_STREQ(pen.tryDetach().error().operation(), "zelDfuDetach");
    EXPECT_STREQ(pen.tryDetachToBootLoader().error().operation(), "zelDfuDetachBoot");
    EXPECT_STREQ(pen.tryResetPort().error().operation(), "zelDfuResetPort");
}

TEST_F(CppFirmware, PenThatRefusesTheConnectionIsAnError)
{
    pensim::Pen &pen = dock();
    const zelpp::PenInfo info = m_library.wait(kPatience);
    pen.refuseConnections(true);
    const zelpp::Result<zelpp::DfuPen> refused = m_library.tryConnect(info);
    ASSERT_FALSE(refused);
    EXPECT_STREQ(refused.error().operation(), "zelDfuConnectPen");
    EXPECT_EQ(refused.error().detail(), kSerial);
}

TEST(CppFirmwareStart, ModeThatOtherCodeHasStartedIsLeftAlone)
{
    const auto ignore = [](DiscoveryHandle *record, void *) { zelFreeDiscoveryHandle(&record); };
    ASSERT_EQ(zelDfuInit(nullptr, ignore, ignore), ZEL_OK);
    const zelpp::Result<zelpp::DfuLibrary> refused = zelpp::DfuLibrary::tryStart();
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().reason(), Errc::alreadyInitialized);
    EXPECT_STREQ(refused.error().operation(), "zelDfuInit");
    EXPECT_EQ(zelDfuInit(nullptr, ignore, ignore), ZEL_ERR_ALREADY_INITIALIZED);
    EXPECT_EQ(zelDfuExit(), ZEL_OK);
}

// This mode does not look for the service again by itself.
TEST_F(CppFirmware, RefreshFindsAServiceThatWasAway)
{
    dock();
    m_library.wait(kPatience);
    zelpp::Events events = m_library.events();
    EXPECT_EQ(events.next(kPatience)->kind, zelpp::PenEvent::Kind::arrived);
    m_service.rendezvous().shutDown(Ending::reset);
    m_service.undock(kPenId);
    m_service.rendezvous().listen();
    m_service.dock(firmwarePen(7));
    m_library.refresh();
    EXPECT_EQ(events.next(kPatience)->pen.penId, 7u);
    const std::optional<zelpp::PenEvent> gone = events.next(kPatience);
    EXPECT_EQ(gone->pen.penId, kPenId);
    EXPECT_EQ(gone->kind, zelpp::PenEvent::Kind::departed);
}

} // namespace
} // namespace cpphost
