#include "host_pens.h"

#include <algorithm>
#include <thread>

namespace cpphost {
namespace {

using pensim::Ending;
using Kind = zelpp::PenEvent::Kind;

pensim::PenSpec pen(std::uint64_t id)
{
    pensim::PenSpec spec;
    spec.id = id;
    return spec;
}

/** "arrived 7": what an event tells. */
std::string textOf(const std::optional<zelpp::PenEvent> &event)
{
    if (!event)
        return "none";
    const char *const kinds[] = {"arrived", "repeated", "departed"};
    return std::string(kinds[static_cast<int>(event->kind)]) + " " + std::to_string(event->pen.penId);
}

/** The next so many events, whose order among themselves does not count. */
Strings nextEvents(zelpp::Events &events, std::size_t count)
{
    Strings texts;
    for (std::size_t i = 0; i < count; ++i)
        texts.push_back(textOf(events.next(kPatience)));
    std::sort(texts.begin(), texts.end());
    return texts;
}

TEST(CppDiscovery, PensOfTheServiceAreListed)
{
    pensim::Service service({}, pensim::defaultScenario());
    service.start();
    const zelpp::Library library;
    const std::vector<zelpp::PenInfo> pens = library.discover(kPatience);
    ASSERT_EQ(pens.size(), 3u);
    EXPECT_EQ(pens[0].serial, kSerial);
    EXPECT_EQ(pens[0].penId, kPenId);
    EXPECT_FALSE(pens[0].firmwareUpgrade);
    EXPECT_EQ(pens[1].vendorId, 0xf055) << "told although the pen is too old for the function";
    EXPECT_EQ(pens[1].productId, 0x0001);
    EXPECT_EQ(serialsOf(library.pens()), serialsOf(pens));
}

TEST(CppDiscovery, WaitEndsAtItsLimit)
{
    pensim::Service service({}, {{pen(1)}, {}});
    service.start();
    const zelpp::Library library;
    EXPECT_EQ(library.wait(zelpp::serialText(1), kPatience).penId, 1u);
    const zelpp::Result<zelpp::PenInfo> other = library.tryWait("AAA-AAA-AAA-AA", 10ms);
    ASSERT_FALSE(other);
    EXPECT_EQ(other.error().reason(), Errc::noPen);
    EXPECT_STREQ(other.error().name(), "noPen");
    EXPECT_STREQ(other.error().what(),
                 "wait (AAA-AAA-AAA-AA): The pen is not present, or did not arrive in time.");
    EXPECT_THROW(library.wait("AAA-AAA-AAA-AA", 0ms), zelpp::NoPenError);
}

TEST(CppDiscovery, SerialIsComparedWholeAndInAnyCase)
{
    pensim::Service service({}, {{pen(kPenId)}, {}});
    service.start();
    const zelpp::Library library;
    EXPECT_EQ(library.wait("akz-aq7-aps-ac", kPatience).penId, kPenId);
    EXPECT_EQ(thrown([&] { library.wait("AKZ-AQ7-APS-ACA", 10ms); }), Errc::noPen);
    EXPECT_EQ(thrown([&] { library.wait("AKZ-AQ7-APS-A", 10ms); }), Errc::noPen);
    EXPECT_EQ(thrown([&] { library.wait("", kPatience); }), Errc::invalidArgument);
}

TEST(CppDiscovery, PensAreTheSameByTheirIdentity)
{
    zelpp::PenInfo one;
    one.penId = 1;
    zelpp::PenInfo same = one;
    same.serial = "not asked yet";
    zelpp::PenInfo other = one;
    other.penId = 2;
    EXPECT_TRUE(one == same);
    EXPECT_FALSE(one != same);
    EXPECT_FALSE(one == other);
    EXPECT_TRUE(one != other);
}

// Right after the start none has been announced yet: each of them has to wait by itself.
TEST(CppDiscovery, WaitsHaveALimitOfTheirOwn)
{
    pensim::Service service;
    service.start();
    for (std::uint64_t id = 1; id <= 50; ++id)
        service.dock(pen(id));
    const std::string serial = zelpp::serialText(50);
    EXPECT_EQ(zelpp::Library().discover().size(), 50u);
    EXPECT_NO_THROW(zelpp::Library().wait());
    EXPECT_TRUE(zelpp::Library().tryWait());
    EXPECT_NO_THROW(zelpp::Library().wait(serial));
    EXPECT_TRUE(zelpp::Library().tryWait(serial));
}

TEST(CppDiscovery, ListingIsOverWhenNoPenHasComeForAWhile)
{
    pensim::Service service({}, {{pen(1)}, {}});
    service.start();
    const zelpp::Library library;
    std::thread later([&] {
        library.wait(kPatience);
        std::this_thread::sleep_for(50ms);
        service.dock(pen(2));
    });
    const auto began = std::chrono::steady_clock::now();
    EXPECT_EQ(library.discover(kPatience, 2s).size(), 2u);
    EXPECT_LT(std::chrono::steady_clock::now() - began, kPatience);
    later.join();
}

TEST(CppDiscovery, WaitSeesAPenThatComesMeanwhile)
{
    pensim::Service service;
    service.start();
    const zelpp::Library library;
    EXPECT_EQ(thrown([&] { library.wait(20ms); }), Errc::noPen);
    std::thread later([&] {
        std::this_thread::sleep_for(50ms);
        service.dock(pen(7));
    });
    EXPECT_EQ(library.wait(std::chrono::milliseconds::max()).penId, 7u);
    later.join();
}

TEST(CppDiscovery, ArrivalsAndDeparturesAreToldInOrder)
{
    pensim::Service service({}, {{pen(1)}, {}});
    service.start();
    const zelpp::Library library;
    library.wait(kPatience);
    zelpp::Events events = library.events();
    service.dock(pen(7));
    service.undock(7);
    service.redock(7);
    service.undock(1);
    EXPECT_EQ(textOf(events.next(kPatience)), "arrived 1") << "present from the beginning";
    EXPECT_EQ(textOf(events.next(kPatience)), "arrived 7");
    EXPECT_EQ(textOf(events.next(kPatience)), "departed 7");
    EXPECT_EQ(textOf(events.next(kPatience)), "arrived 7");
    EXPECT_EQ(textOf(events.next(kPatience)), "departed 1");
    EXPECT_EQ(textOf(events.next(10ms)), "none");
    EXPECT_EQ(serialsOf(library.pens()), Strings{zelpp::serialText(7)});
    zelpp::Events later = library.events();
    EXPECT_EQ(textOf(later.next(kPatience)), "arrived 7");
}

TEST(CppDiscovery, LoopOverEventsEndsWhenAnotherThreadClosesThem)
{
    pensim::Service service({}, {{pen(1), pen(2)}, {}});
    service.start();
    const zelpp::Library library;
    zelpp::Events events = library.events();
    std::vector<std::uint64_t> seen;
    std::thread closer;
    for (const zelpp::PenEvent &event : events) {
        seen.push_back(event.pen.penId);
        if (seen.size() == 2)
            closer = std::thread([&] { events.close(); });
    }
    closer.join();
    EXPECT_EQ(seen, (std::vector<std::uint64_t>{1, 2}));
    EXPECT_FALSE(events.next(kPatience)) << "closed for good";
}

TEST(CppDiscovery, ClosedEventsTellNothingMore)
{
    pensim::Service service({}, {{pen(1)}, {}});
    service.start();
    const zelpp::Library library;
    library.wait(kPatience);
    zelpp::Events events = library.events();
    events.close();
    EXPECT_FALSE(events.next(kPatience)) << "though an arrival is in it";
    std::this_thread::sleep_for(kSettled); // the end of the listing would wake it as well
    zelpp::Events others = library.events();
    others.next(kPatience);
    std::thread later([&] {
        std::this_thread::sleep_for(50ms);
        others.close();
    });
    const auto began = std::chrono::steady_clock::now();
    EXPECT_FALSE(others.next(kPatience));
    EXPECT_LT(std::chrono::steady_clock::now() - began, kPatience) << "it is woken";
    later.join();
}

// The pen comes back on another port: the record of its last arrival is what counts.
TEST(CppDiscovery, PenThatCameBackIsConnectedWhereItIsNow)
{
    pensim::Service service({}, {{penWithPages()}, {}});
    service.start();
    const zelpp::Library library;
    const zelpp::PenInfo info = library.wait(kPatience);
    zelpp::Events events = library.events();
    service.undock(kPenId);
    service.redock(kPenId);
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(events.next(kPatience));
    EXPECT_EQ(library.connect(info).productName(), "Brand");
}

TEST(CppDiscovery, PenThatIsRepeatedIsConnectedWhereItIsNow)
{
    pensim::Service service({}, {{penWithPages()}, {}});
    service.start();
    const zelpp::Library library;
    zelpp::Events events = library.events();
    const zelpp::PenInfo info = events.next(kPatience)->pen;
    service.rendezvous().shutDown(Ending::reset);
    service.undock(kPenId);
    service.redock(kPenId);
    service.rendezvous().listen();
    EXPECT_EQ(events.next(kPatience)->kind, Kind::repeated);
    EXPECT_EQ(library.connect(info).productName(), "Brand");
}

TEST(CppDiscovery, PenThatArrivesLaterDropsNoOther)
{
    pensim::Service service({}, {{pen(1)}, {}});
    service.start();
    const zelpp::Library library;
    zelpp::Events events = library.events();
    EXPECT_EQ(textOf(events.next(kPatience)), "arrived 1");
    library.refresh();
    EXPECT_EQ(textOf(events.next(kPatience)), "repeated 1");
    EXPECT_EQ(textOf(events.next(kSettled)), "none");
    service.dock(pen(2));
    EXPECT_EQ(textOf(events.next(kPatience)), "arrived 2");
    EXPECT_EQ(textOf(events.next(kSettled)), "none");
    EXPECT_EQ(library.pens().size(), 2u);
}

TEST(CppDiscovery, ServiceMayComeAfterTheLibrary)
{
    const zelpp::Library library;
    EXPECT_TRUE(library.discover(10ms).empty());
    pensim::Service service({}, {{pen(7)}, {}});
    service.start();
    EXPECT_EQ(library.wait(kPatience).penId, 7u);
}

// Pens that left while the service was away are never announced as departed: only the others come again.
TEST(CppDiscovery, ServiceThatComesBackDropsThePensThatItDoesNotList)
{
    pensim::Service service({}, {{pen(1), pen(2), pen(3)}, {}});
    service.start();
    const zelpp::Library library;
    zelpp::Events events = library.events();
    EXPECT_EQ(nextEvents(events, 3), (Strings{"arrived 1", "arrived 2", "arrived 3"}));
    std::this_thread::sleep_for(kSettled); // the listing is over
    service.rendezvous().shutDown(Ending::reset);
    service.undock(1);
    service.undock(3);
    service.dock(pen(0)); // listed before the others or behind them, it is no repetition
    service.rendezvous().listen();
    EXPECT_EQ(nextEvents(events, 2), (Strings{"arrived 0", "repeated 2"}));
    EXPECT_EQ(library.pens().size(), 4u) << "there may be more to come";
    EXPECT_EQ(nextEvents(events, 2), (Strings{"departed 1", "departed 3"}));
    EXPECT_EQ(library.pens().size(), 2u);
    EXPECT_EQ(textOf(events.next(10ms)), "none");
}

// Nothing tells that the service has come back when it lists none of the pens; the host may ask.
TEST(CppDiscovery, RefreshDropsThePensThatAreNotListedAgain)
{
    pensim::Service service({}, {{pen(1)}, {}});
    service.start();
    const zelpp::Library library;
    library.wait(kPatience);
    zelpp::Events events = library.events();
    EXPECT_EQ(textOf(events.next(kPatience)), "arrived 1");
    service.rendezvous().shutDown(Ending::reset);
    service.undock(1);
    service.rendezvous().listen();
    library.refresh();
    EXPECT_EQ(textOf(events.next(kPatience)), "departed 1");
    EXPECT_TRUE(library.pens().empty());
    service.redock(1);
    EXPECT_EQ(textOf(events.next(kPatience)), "arrived 1");
}

// Nothing in the library keeps the time: whoever looks finds the list as it should be by then.
TEST(CppDiscovery, PensThatAreNotListedAgainAreGoneForWhoeverLooks)
{
    pensim::Service service({}, {{pen(1)}, {}});
    service.start();
    const zelpp::Library library;
    library.wait(kPatience);
    zelpp::Events events = library.events();
    EXPECT_EQ(textOf(events.next(kPatience)), "arrived 1");
    const auto refreshWithoutThePen = [&] {
        std::this_thread::sleep_for(kSettled); // the listing is over
        service.rendezvous().shutDown(Ending::reset);
        service.undock(1);
        service.rendezvous().listen();
        library.refresh();
        std::this_thread::sleep_for(kSettled);
    };
    refreshWithoutThePen();
    EXPECT_TRUE(library.pens().empty());
    service.redock(1);
    library.wait(kPatience);
    refreshWithoutThePen();
    EXPECT_EQ(textOf(library.events().next(10ms)), "none");
    service.redock(1);
    library.wait(kPatience);
    refreshWithoutThePen();
    service.redock(1);
    std::this_thread::sleep_for(100ms); // until it has been announced
    for (const char *const expected :
         {"departed 1", "arrived 1", "departed 1", "arrived 1", "departed 1", "arrived 1"})
        EXPECT_EQ(textOf(events.next(kPatience)), expected);
}

// Tried again when the machine was too slow for the times in it.
TEST(CppDiscovery, ListingLastsUntilASecondAfterItsLastPen)
{
    for (int attempt = 0; attempt < 10; ++attempt) {
        pensim::Service service({}, {{pen(1)}, {}});
        service.start();
        const zelpp::Library library;
        zelpp::Events events = library.events();
        EXPECT_EQ(textOf(events.next(kPatience)), "arrived 1");
        service.rendezvous().shutDown(Ending::reset);
        service.undock(1);
        service.rendezvous().listen();
        library.refresh();
        std::this_thread::sleep_for(600ms);
        const auto docked = std::chrono::steady_clock::now();
        service.dock(pen(2));
        EXPECT_EQ(textOf(events.next(kPatience)), "arrived 2");
        std::this_thread::sleep_for(600ms);
        const std::size_t present = library.pens().size();
        if (std::chrono::steady_clock::now() - docked > 900ms)
            continue;
        EXPECT_EQ(present, 2u);
        EXPECT_EQ(textOf(events.next(kPatience)), "departed 1");
        return;
    }
    FAIL() << "the machine was too slow";
}

TEST(CppDiscovery, RefreshWakesWhoWaitsForEvents)
{
    pensim::Service service({}, {{pen(1)}, {}});
    service.start();
    const zelpp::Library library;
    zelpp::Events events = library.events();
    EXPECT_EQ(textOf(events.next(kPatience)), "arrived 1");
    std::this_thread::sleep_for(kSettled); // the listing is over
    library.pens();
    service.rendezvous().shutDown(Ending::reset);
    service.undock(1);
    service.rendezvous().listen();
    std::thread later([&] {
        std::this_thread::sleep_for(50ms);
        library.refresh();
    });
    const auto began = std::chrono::steady_clock::now();
    EXPECT_EQ(textOf(events.next(kPatience)), "departed 1");
    EXPECT_LT(std::chrono::steady_clock::now() - began, kPatience);
    later.join();
}

TEST(CppDiscovery, RefreshKeepsThePensThatAreListedAgain)
{
    pensim::Service service({}, {{pen(1), pen(2)}, {}});
    service.start();
    const zelpp::Library library;
    zelpp::Events events = library.events();
    EXPECT_EQ(nextEvents(events, 2), (Strings{"arrived 1", "arrived 2"}));
    library.refresh();
    EXPECT_EQ(nextEvents(events, 2), (Strings{"repeated 1", "repeated 2"}));
    EXPECT_EQ(textOf(events.next(kSettled)), "none");
    EXPECT_EQ(library.pens().size(), 2u);
}

TEST(CppDiscovery, FiftyPensAreListedAndFetchedFrom)
{
    pensim::Service service;
    service.start();
    for (std::uint64_t id = 1; id <= 50; ++id) {
        pensim::PenSpec spec = pen(id);
        spec.pages = {page("1.2.3.4", id)};
        service.dock(spec);
    }
    const zelpp::Library library;
    zelpp::Events events = library.events();
    std::vector<zelpp::Pen> pens;
    for (int i = 0; i < 50; ++i)
        pens.push_back(library.connect(events.next(kPatience)->pen));
    EXPECT_EQ(library.pens().size(), 50u);
    for (const zelpp::Pen &connected : pens) {
        const zelpp::PageData data = connected.fetchAll();
        EXPECT_EQ(data.penId(), connected.info().penId);
        EXPECT_EQ(data[0].strokes().size(), connected.info().penId);
    }
}

TEST(CppDiscovery, SeveralEventsTellTheSame)
{
    pensim::Service service;
    service.start();
    const zelpp::Library library;
    zelpp::Events first = library.events();
    zelpp::Events second = library.events();
    service.dock(pen(7));
    EXPECT_EQ(textOf(first.next(kPatience)), "arrived 7");
    EXPECT_EQ(textOf(second.next(kPatience)), "arrived 7");
    {
        zelpp::Events third = std::move(first);
        service.undock(7);
        EXPECT_EQ(textOf(third.next(kPatience)), "departed 7");
    }
    EXPECT_EQ(textOf(second.next(kPatience)), "departed 7");
}

} // namespace
} // namespace cpphost
