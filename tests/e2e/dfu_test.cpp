#include "e2e/host.h"

#include <array>
#include <cstring>
#include <memory>
#include <thread>

namespace {

using namespace zel::test;
using pensim::Ending;
using Ids = std::vector<std::uint64_t>;
using Status = std::array<std::uint8_t, 6>;

constexpr std::uint64_t kUpgradedPenId = 0x12300abcdef;
constexpr std::uint64_t kOtherPen = 0x100000001;
constexpr std::size_t kBlockSize = 64;

// Status, poll timeout in milliseconds (3 bytes, the lowest first), state, string index.
constexpr Status kWritingABlock{0x00, 0x01, 0x00, 0x00, 0x04, 0x00};
constexpr Status kReadyForTheNextBlock{0x00, 0x00, 0x00, 0x00, 0x05, 0x00};
constexpr Status kInstalling{0x00, 0x14, 0x00, 0x00, 0x07, 0x00};
constexpr Status kIdle{0x00, 0x00, 0x00, 0x00, 0x02, 0x00};
constexpr Status kBlockNotWritten{0x03, 0x00, 0x00, 0x00, 0x0a, 0x00};
constexpr Status kRefusedRequest{0x0f, 0x00, 0x00, 0x00, 0x0a, 0x00};

pensim::PenSpec firmwarePen()
{
    pensim::PenSpec spec = penOf(kUpgradedPenId, Mode::firmwareUpgrade);
    spec.dfu.transferSize = kBlockSize;
    return spec;
}

/** A pen in firmware-upgrade mode, and a host that has connected to it. */
class FirmwareUpgrade : public testing::Test
{
protected:
    void SetUp() override
    {
        m_service.start();
        m_pen = &m_service.dock(firmwarePen());
        m_host = std::make_unique<Host>(Mode::firmwareUpgrade);
        connect();
    }
    void TearDown() override
    {
        EXPECT_EQ(zelDfuDisconnectPen(&m_handle), ZEL_OK);
        m_host.reset();
    }

    void connect() { ASSERT_EQ(zelDfuConnectPen(&m_handle, m_host->record(kUpgradedPenId)), ZEL_OK); }

    /** The block as the library takes it: number, count, data. */
    std::uint32_t download(std::uint16_t number, const Bytes &data)
    {
        const std::array<std::uint16_t, 2> header{number, static_cast<std::uint16_t>(data.size())};
        Bytes block(sizeof header);
        std::memcpy(block.data(), header.data(), sizeof header);
        block = std::move(block) + data;
        return zelDfuDownload(m_handle, block.data());
    }

    Status status()
    {
        Status bytes{0xee, 0xee, 0xee, 0xee, 0xee, 0xee};
        EXPECT_EQ(zelDfuGetStatus(m_handle, bytes.data()), ZEL_OK);
        return bytes;
    }

    /** The status that says that the pen is at work; then the time that it asks for passes. */
    Status statusAndWait()
    {
        const Status busy = status();
        std::this_thread::sleep_for(std::chrono::milliseconds(busy[1]));
        return busy;
    }

    void downloadWritten(std::uint16_t number, const Bytes &data)
    {
        ASSERT_EQ(download(number, data), ZEL_OK);
        ASSERT_EQ(statusAndWait(), kWritingABlock);
        ASSERT_EQ(status(), kReadyForTheNextBlock);
    }

    /** All but the first blocks, and the end of the download. */
    void downloadRest(const Bytes &image, std::size_t firstBlock = 0)
    {
        const std::size_t blocks = (image.size() + kBlockSize - 1) / kBlockSize;
        for (std::size_t i = firstBlock; i < blocks; ++i) {
            const std::size_t end = std::min(image.size(), (i + 1) * kBlockSize);
            downloadWritten(static_cast<std::uint16_t>(i),
                            {image.data() + i * kBlockSize, image.data() + end});
        }
        ASSERT_EQ(download(static_cast<std::uint16_t>(blocks), {}), ZEL_OK);
        ASSERT_EQ(statusAndWait(), kInstalling);
        ASSERT_EQ(status(), kIdle);
    }

    std::int32_t state()
    {
        std::int32_t state = -1;
        EXPECT_EQ(zelDfuGetState(m_handle, &state), ZEL_OK);
        return state;
    }

    pensim::Service m_service;
    pensim::Pen *m_pen = nullptr;
    std::unique_ptr<Host> m_host;
    DfuPenHandle *m_handle = nullptr;
};

TEST_F(FirmwareUpgrade, DownloadedImageReachesThePenByteByByte)
{
    const Bytes image = pensim::generatedStrokes(20 * kBlockSize + 17, 1);
    downloadRest(image);
    EXPECT_EQ(m_pen->firmwareImage(), image);
    EXPECT_TRUE(m_pen->firmwareInstalled());
}

TEST_F(FirmwareUpgrade, PenTellsItsFunctionalDescriptor)
{
    std::array<std::uint8_t, 7> descriptor{};
    EXPECT_EQ(zelDfuGetFunctionalDescriptor(m_handle, descriptor.data()), ZEL_OK);
    EXPECT_EQ(descriptor, (std::array<std::uint8_t, 7>{0x05,          // can download, tolerates manifestation
                                                       0xe8, 0x03,    // detach timeout 1000 ms
                                                       0x40, 0x00,    // transfer size 64
                                                       0x10, 0x01})); // version 1.1
}

TEST_F(FirmwareUpgrade, AbortedDownloadBeginsAnew)
{
    downloadWritten(0, Bytes(kBlockSize, 0xaa));
    EXPECT_EQ(zelDfuAbort(m_handle), ZEL_OK);
    EXPECT_EQ(state(), 2); // idle
    EXPECT_FALSE(m_pen->firmwareInstalled());
    const Bytes image = pensim::generatedStrokes(2 * kBlockSize, 2);
    downloadRest(image);
    EXPECT_EQ(m_pen->firmwareImage(), image);
}

TEST_F(FirmwareUpgrade, RequestThatThePenRefusesLeavesAnErrorThatCanBeCleared)
{
    EXPECT_EQ(download(0, Bytes(kBlockSize + 1, 0xaa)), ZEL_ERR_UNEXPECTED); // more than it takes
    EXPECT_EQ(status(), kRefusedRequest);
    EXPECT_EQ(zelDfuDetach(m_handle), ZEL_ERR_UNEXPECTED); // it is detached already
    EXPECT_EQ(zelDfuDetachBoot(m_handle), ZEL_ERR_UNEXPECTED);
    EXPECT_EQ(zelDfuClearStatus(m_handle), ZEL_OK);
    EXPECT_EQ(status(), kIdle);
}

TEST_F(FirmwareUpgrade, LostConnectionIsToldAndTheDownloadGoesOnByANewOne)
{
    const Bytes image = pensim::generatedStrokes(5 * kBlockSize, 3);
    downloadWritten(0, {image.data(), image.data() + kBlockSize});
    m_pen->closeConnections(Ending::reset);
    EXPECT_EQ(download(1, Bytes(kBlockSize, 0xaa)), ZEL_ERR_COMMUNICATION);
    EXPECT_EQ(zelDfuAbort(m_handle), ZEL_ERR_COMMUNICATION);
    EXPECT_EQ(zelDfuDisconnectPen(&m_handle), ZEL_OK);
    connect();
    EXPECT_EQ(state(), 5); // ready for the next block
    downloadRest(image, 1);
    EXPECT_EQ(m_pen->firmwareImage(), image);
}

TEST_F(FirmwareUpgrade, ResetPenLeavesThisModeAndArrivesInTheOrdinaryOne)
{
    downloadRest(Bytes(kBlockSize, 0xaa));
    Host ordinary;
    ASSERT_TRUE(m_service.rendezvous().waitForMessages("LIST", 2, kPatience)); // one of each host
    EXPECT_EQ(zelDfuResetPort(m_handle), ZEL_OK);
    EXPECT_EQ(m_host->departures(1), Ids{kUpgradedPenId});
    EXPECT_EQ(ordinary.arrivals(1), Ids{kUpgradedPenId});
    EXPECT_EQ(zelDfuAbort(m_handle), ZEL_ERR_COMMUNICATION);
}

TEST(FirmwareUpgradeFailure, BlockThatCannotBeWrittenIsTold)
{
    pensim::Service service;
    service.start();
    pensim::PenSpec spec = firmwarePen();
    spec.dfu.failAtBlock = 0;
    service.dock(spec);
    Host host(Mode::firmwareUpgrade);
    DfuPenHandle *pen = nullptr;
    ASSERT_EQ(zelDfuConnectPen(&pen, host.record(kUpgradedPenId)), ZEL_OK);
    const std::array<std::uint16_t, 3> block{7, 2, 0xa0a0}; // number, bytes, data
    EXPECT_EQ(zelDfuDownload(pen, block.data()), ZEL_OK);
    Status status{};
    EXPECT_EQ(zelDfuGetStatus(pen, status.data()), ZEL_OK);
    EXPECT_EQ(status, kBlockNotWritten);
    EXPECT_EQ(zelDfuDisconnectPen(&pen), ZEL_OK);
}

std::uint8_t modeOf(Host &host, std::uint64_t penId)
{
    std::uint8_t mode = 77;
    EXPECT_EQ(zelDfuGetMode(host.record(penId), &mode), ZEL_OK);
    return mode;
}

TEST(FirmwareUpgradeDiscovery, PensOfEitherModeReachTheirOwnListener)
{
    pensim::Service service;
    service.start();
    service.dock(firmwarePen());
    Host ordinary;
    Host firmware(Mode::firmwareUpgrade);
    ASSERT_TRUE(service.rendezvous().waitForMessages("LIST", 2, kPatience));
    service.dock(penOf(kOtherPen));
    service.undock(kUpgradedPenId);
    service.redock(kUpgradedPenId);
    service.undock(kOtherPen);
    EXPECT_EQ(firmware.arrivals(2), (Ids{kUpgradedPenId, kUpgradedPenId}));
    EXPECT_EQ(firmware.departures(1), Ids{kUpgradedPenId});
    EXPECT_EQ(ordinary.arrivals(1), Ids{kOtherPen});
    EXPECT_EQ(ordinary.departures(1), Ids{kOtherPen});
    EXPECT_EQ(modeOf(firmware, kUpgradedPenId), 1);
    EXPECT_EQ(modeOf(ordinary, kOtherPen), 0);
}

TEST(FirmwareUpgradeDiscovery, ListeningBeginsAgainWithExitAndInit)
{
    pensim::Service service;
    service.start();
    service.dock(firmwarePen());
    {
        Host host(Mode::firmwareUpgrade);
        EXPECT_EQ(host.arrivals(1), Ids{kUpgradedPenId});
        service.rendezvous().shutDown(Ending::reset);
    }
    service.rendezvous().listen();
    Host host(Mode::firmwareUpgrade);
    EXPECT_EQ(host.arrivals(1), Ids{kUpgradedPenId});
}

} // namespace
