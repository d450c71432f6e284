#include "e2e/host.h"

#include <thread>

namespace {

using namespace zel::test;
using pensim::Ending;
using Ids = std::vector<std::uint64_t>;

constexpr std::uint64_t kNotebook = 0x12300abcdef;
constexpr std::uint64_t kOffice = 0x100000001;
constexpr std::uint64_t kLocked = 0x220000beef;

pensim::PenSpec pen(std::uint64_t id, const char *protocol = "PSP41")
{
    pensim::PenSpec spec = penOf(id);
    spec.protocols = {protocol};
    return spec;
}

TEST(Discovery, PensOfTheServiceArriveInItsOrder)
{
    pensim::Service service({}, pensim::defaultScenario());
    service.start();
    Host host;
    EXPECT_EQ(host.arrivals(3), (Ids{kNotebook, kOffice, kLocked}));

    char *serial = nullptr;
    ASSERT_EQ(zelGetDevicePenSerial(host.record(kNotebook), &serial), ZEL_OK);
    EXPECT_EQ(takeText(serial), "AKZ-AQ7-APS-AC");
    std::uint16_t vendor = 0;
    std::uint16_t product = 0;
    EXPECT_EQ(zelGetDeviceVidAndPid(host.record(kOffice), &vendor, &product), ZEL_ERR_NOT_SUPPORTED);
    EXPECT_EQ(vendor, 0xf055); // written all the same
    EXPECT_EQ(product, 0x0001);
}

// Hosts have come to rely on the list ending at the first pen that the library does not support.
TEST(Discovery, UnsupportedPenHidesThoseListedBehindIt)
{
    pensim::Service service({}, {{pen(1), pen(2, "PSP10"), pen(3)}, {}});
    service.start();
    Host host;
    EXPECT_EQ(host.arrivals(1), (Ids{1}));
    service.dock(pen(4)); // is told after the list has been walked
    EXPECT_EQ(host.arrivals(2), (Ids{1, 4}));
}

TEST(Discovery, DockingAndUndockingReachTheCallbacks)
{
    pensim::Service service;
    service.start();
    Host host;
    ASSERT_TRUE(service.rendezvous().waitForMessages("LIST", 1, kPatience));
    service.dock(pen(7));
    EXPECT_EQ(host.arrivals(1), (Ids{7}));
    service.undock(7);
    EXPECT_EQ(host.departures(1), (Ids{7}));
    service.redock(7);
    EXPECT_EQ(host.arrivals(2), (Ids{7, 7}));
}

TEST(Discovery, DepartureRecordConnectsToNothing)
{
    pensim::Service service({}, {{pen(7)}, {}});
    service.start();
    Host host;
    const DiscoveryHandle departure{ZEL_PEN_DEPARTED, 7};
    PenHandle *handle = nullptr;
    EXPECT_EQ(zelConnectPen(&departure, &handle), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(handle, nullptr);
}

TEST(Discovery, EnumeratingAnnouncesEveryPenAnew)
{
    pensim::Service service({}, pensim::defaultScenario());
    service.start();
    Host host;
    host.arrivals(3);
    host.forget();
    ASSERT_EQ(zelEnumeratePens(), ZEL_OK);
    EXPECT_EQ(host.arrivals(3), (Ids{kNotebook, kOffice, kLocked}));
}

TEST(Discovery, PensInFirmwareUpgradeModeAreNotAnnouncedToOrdinaryHosts)
{
    pensim::Service service({}, {{penOf(8, Mode::firmwareUpgrade), pen(9)}, {}});
    service.start();
    Host host;
    EXPECT_EQ(host.arrivals(1), (Ids{9}));
}

TEST(Discovery, ServiceMayStartAfterTheHost)
{
    Host host;
    pensim::Service service({}, pensim::defaultScenario());
    service.start();
    EXPECT_EQ(host.arrivals(3), (Ids{kNotebook, kOffice, kLocked}));
}

TEST(Discovery, HostComesBackToAServiceThatWasStartedAgain)
{
    pensim::Service service({}, {{pen(7)}, {}});
    service.start();
    Host host;
    host.arrivals(1);
    service.rendezvous().shutDown(Ending::reset);
    service.rendezvous().listen();
    EXPECT_EQ(host.arrivals(2), (Ids{7, 7}));
}

TEST(Discovery, DepartureWhileTheServiceWasAwayIsNeverReported)
{
    pensim::Service service({}, {{pen(7), pen(8)}, {}});
    service.start();
    Host host;
    host.arrivals(2);
    service.rendezvous().shutDown(Ending::reset);
    service.undock(8);
    service.rendezvous().listen();
    EXPECT_EQ(host.arrivals(3), (Ids{7, 8, 7}));
    service.dock(pen(9)); // is told after all that the service had to tell
    EXPECT_EQ(host.arrivals(4), (Ids{7, 8, 7, 9}));
    EXPECT_EQ(host.departures(0), Ids{});
}

TEST(Discovery, SerialOfAnIdentityOfAllOnesSaysSo)
{
    constexpr std::uint64_t kNoIdentity = ~std::uint64_t{0};
    pensim::Service service({}, {{pen(kNoIdentity)}, {}});
    service.start();
    Host host;
    const Connection connection(host, kNoIdentity);
    ASSERT_EQ(connection.code(), ZEL_OK);
    char *announced = nullptr;
    char *connected = nullptr;
    EXPECT_EQ(zelGetDevicePenSerial(host.record(kNoIdentity), &announced), ZEL_OK);
    EXPECT_EQ(zelGetPenSerial(connection.pen(), &connected), ZEL_OK);
    EXPECT_EQ(takeText(announced), "INVALID-PEN-ID");
    EXPECT_EQ(takeText(connected), "INVALID-PEN-ID");
}

TEST(Discovery, MessagesInPiecesAreReadAsWhole)
{
    pensim::Service service({}, {{pen(7)}, {{}, {}, 1, std::chrono::milliseconds(0)}});
    service.start();
    Host host;
    EXPECT_EQ(host.arrivals(1), (Ids{7}));
}

TEST(Discovery, OverlongMessageAndBrandHurtNobody)
{
    pensim::Service service;
    service.start();
    Host host;
    ASSERT_TRUE(service.rendezvous().waitForMessages("LIST", 1, kPatience));
    service.rendezvous().send(std::string(5000, 'x') + '\0');
    pensim::PenSpec longBrand = pen(7);
    longBrand.brand = std::string(300, 'b');
    service.dock(longBrand);
    EXPECT_EQ(host.arrivals(1), (Ids{7}));
}

TEST(Discovery, SilentServiceDoesNotHoldTheHostBack)
{
    pensim::Service service({}, {{pen(7)}, {{{0, {}, 0, pensim::Reply::silence()}}, {}, 0, {}}});
    service.start();
    Host host;
    EXPECT_TRUE(service.rendezvous().waitForMessages("LIST", 1, kPatience));
} // zelExit returns

} // namespace
