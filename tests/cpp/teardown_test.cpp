#include "host_pens.h"

#include "support/process_counts.h"

#include <atomic>
#include <functional>
#include <thread>

namespace cpphost {
namespace {

/** Whether the C library is stopped: then the test can start it by itself. */
bool isStopped()
{
    const auto ignore = [](DiscoveryHandle *record, void *) { zelFreeDiscoveryHandle(&record); };
    const std::uint32_t code = zelInitialize(ignore, ignore, nullptr);
    if (code == ZEL_OK)
        zelExit();
    return code == ZEL_OK;
}

/** That so many rounds have left no descriptor and no thread. */
void expectNothingLeft(const zel::test::ProcessCounts &before, std::size_t rounds)
{
    const zel::test::ProcessCounts after = zel::test::countProcess(before);
    if (!zel::test::countsExactly()) {
        EXPECT_LT(after.descriptors, before.descriptors + rounds);
        return;
    }
    // There may be fewer: the service closed what an earlier host had left.
    EXPECT_LE(after.descriptors, before.descriptors);
    EXPECT_LE(after.threads, before.threads);
}

class CppTeardown : public testing::Test
{
protected:
    void SetUp() override { m_service.start(); }

    pensim::Service m_service{{}, {{penWithPages(), penWithPages(7)}, {}}};
};

TEST_F(CppTeardown, ConnectedPenKeepsTheLibraryAlive)
{
    std::optional<zelpp::Pen> pen;
    {
        const zelpp::Library library;
        pen = library.connect(library.wait(kPatience));
    }
    EXPECT_FALSE(isStopped());
    EXPECT_EQ(pen->productName(), "Brand");
    pen.reset();
    EXPECT_TRUE(isStopped());
}

TEST_F(CppTeardown, EventsKeepTheLibraryAlive)
{
    std::optional<zelpp::Events> events = zelpp::Library().events();
    EXPECT_TRUE(events->next(kPatience));
    EXPECT_FALSE(isStopped());
    events.reset();
    EXPECT_TRUE(isStopped());
}

TEST_F(CppTeardown, LibrariesShareWhatIsStarted)
{
    std::optional<zelpp::Library> first = zelpp::Library();
    first->wait(kPatience);
    std::optional<zelpp::Library> second = zelpp::Library();
    EXPECT_FALSE(second->pens().empty()) << "known at once";
    first.reset();
    EXPECT_EQ(second->connect(second->wait(zelpp::serialText(7), kPatience)).productName(), "Brand");
    second.reset();
    EXPECT_TRUE(isStopped());
}

TEST_F(CppTeardown, LibraryThatOtherCodeHasStartedIsLeftAlone)
{
    const auto ignore = [](DiscoveryHandle *record, void *) { zelFreeDiscoveryHandle(&record); };
    ASSERT_EQ(zelInitialize(ignore, ignore, nullptr), ZEL_OK);
    const zelpp::Result<zelpp::Library> refused = zelpp::Library::tryStart();
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().reason(), Errc::alreadyInitialized);
    EXPECT_STREQ(refused.error().operation(), "zelInitialize");
    EXPECT_FALSE(isStopped());
    EXPECT_EQ(zelExit(), ZEL_OK);
    EXPECT_NO_THROW(zelpp::Library());
}

TEST_F(CppTeardown, PenThatIsMovedDisconnectsOnce)
{
    const zelpp::Library library;
    zelpp::Pen pen = library.connect(library.wait(kSerial, kPatience));
    zelpp::Pen other = library.connect(library.wait(zelpp::serialText(7), kPatience));
    const PenHandle *const handle = other.handle();
    pen = std::move(other);
    EXPECT_EQ(pen.handle(), handle);
    EXPECT_EQ(pen.info().penId, 7u);
    EXPECT_EQ(pen.productName(), "Brand");
    EXPECT_FALSE(other.isConnected());                                      // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(thrown([&] { other.productName(); }), Errc::invalidArgument); // NOLINT(bugprone-use-after-move)
    pen.disconnect();
    EXPECT_FALSE(pen.isConnected());
    EXPECT_EQ(thrown([&] { pen.fetchAll(); }), Errc::invalidArgument);
    EXPECT_EQ(thrown([&] { pen.pages(); }), Errc::invalidArgument);
    pen.disconnect();
}

TEST_F(CppTeardown, PenThatIsDisconnectedLetsTheLibraryStop)
{
    std::optional<zelpp::Library> library = zelpp::Library();
    zelpp::Pen pen = library->connect(library->wait(kPatience));
    library.reset();
    pen.disconnect();
    EXPECT_TRUE(isStopped());
    EXPECT_FALSE(pen.isConnected());
}

TEST_F(CppTeardown, PenThatIsMovedOntoItselfStaysConnected)
{
    const zelpp::Library library;
    zelpp::Pen pen = library.connect(library.wait(kSerial, kPatience));
    zelpp::Pen &same = pen;
    pen = std::move(same);
    EXPECT_EQ(pen.productName(), "Brand");
}

TEST_F(CppTeardown, PenThatIsMovedOntoAnotherDisconnectsThat)
{
    const zelpp::Library library;
    const zelpp::PenInfo info = library.wait(kSerial, kPatience);
    zelpp::Pen pen = library.connect(info);
    const zel::test::ProcessCounts before = zel::test::countProcess();
    for (int i = 0; i < 20; ++i)
        pen = library.connect(info);
    expectNothingLeft(before, 20);
}

TEST_F(CppTeardown, ConnectionThatFailsLeavesNothing)
{
    const zelpp::Library library;
    const zelpp::PenInfo info = library.wait(kSerial, kPatience);
    m_service.pen(kPenId).refuseConnections(true);
    EXPECT_EQ(thrown([&] { library.connect(info); }), Errc::unexpected);
    const zel::test::ProcessCounts before = zel::test::countProcess();
    for (int i = 0; i < 20; ++i)
        EXPECT_FALSE(library.tryConnect(info));
    expectNothingLeft(before, 20);
}

// Library, pens, events and page data go in every order, also from other threads.
TEST_F(CppTeardown, NoDescriptorIsLeftWhateverTheOrder)
{
    const auto round = [&](int order) {
        std::optional<zelpp::Library> library = zelpp::Library();
        std::optional<zelpp::Pen> pen = library->connect(library->wait(kSerial, kPatience));
        std::optional<zelpp::Pen> other = library->connect(library->wait(zelpp::serialText(7), kPatience));
        std::optional<zelpp::Events> events = library->events();
        std::optional<zelpp::PageData> data = pen->fetch({"11.2.3.45"});
        const std::function<void()> ends[] = {[&] { library.reset(); }, [&] { pen.reset(); },
                                              [&] { events.reset(); }, [&] { data.reset(); },
                                              [&] { std::thread([&] { other.reset(); }).join(); }};
        for (int i = 0; i < 5; ++i)
            ends[(order + i * (order % 4 + 1)) % 5]();
        EXPECT_TRUE(isStopped());
    };
    round(0);
    const zel::test::ProcessCounts before = zel::test::countProcess();
    for (int order = 0; order < 20; ++order)
        round(order);
    expectNothingLeft(before, 20);
}

TEST_F(CppTeardown, TwoThreadsUseOnePenEach)
{
    const zelpp::Library library;
    std::atomic<int> fetched{0};
    const auto use = [&](const std::string &serial) {
        for (int i = 0; i < 20; ++i) {
            zelpp::Pen pen = library.connect(library.wait(serial, kPatience));
            pen.setAutoPowerOff(static_cast<std::uint16_t>(i));
            if (pen.fetchAll().size() == 5 && pen.autoPowerOff() == i)
                ++fetched;
        }
    };
    std::thread first(use, std::string(kSerial));
    std::thread second(use, zelpp::serialText(7));
    for (int i = 0; i < 5; ++i)
        library.refresh(); // runs beside no operation
    first.join();
    second.join();
    EXPECT_EQ(fetched, 40);
}

// An operation that runs meanwhile is one of the library that nothing may run beside.
TEST_F(CppTeardown, RefreshWaitsForTheOperationThatRuns)
{
    const zelpp::Library library;
    const zelpp::Pen pen = library.connect(library.wait(kSerial, kPatience));
    std::atomic<bool> isOver{false};
    std::thread refreshing;
    pen.fetchAll([&](const zelpp::FetchProgress &progress) {
        if (progress.pages == 0) {
            refreshing = std::thread([&] {
                library.refresh();
                EXPECT_TRUE(isOver);
            });
            std::this_thread::sleep_for(100ms);
        }
        isOver = progress.pages == 4;
    });
    refreshing.join();
}

TEST_F(CppTeardown, OperationsWaitForAFunctionThatNothingMayRunBeside)
{
    const zelpp::Library library;
    const zelpp::PenInfo info = library.wait(kSerial, kPatience);
    const zelpp::Pen pen = library.connect(info);
    std::atomic<bool> isOver{false};
    std::vector<std::thread> others;
    std::optional<zelpp::Pen> connected; // whose end would wait as well
    const auto during = [&](const std::function<void()> &operation) {
        others.emplace_back([&isOver, operation] {
            operation();
            EXPECT_TRUE(isOver);
        });
    };
    zelpp::detail::ordinaryMode().gate.alone([&] {
        during([&] { pen.productName(); });
        during([&] { connected = library.connect(info); });
        during([&] { library.refresh(); });
        std::this_thread::sleep_for(100ms);
        isOver = true;
        return ZEL_OK;
    });
    for (std::thread &other : others)
        other.join();
}

TEST_F(CppTeardown, StartWaitsForAStopAndAnotherStart)
{
    zelpp::detail::Gate &gate = zelpp::detail::ordinaryMode().gate;
    std::optional<zelpp::Library> library = zelpp::Library();
    std::optional<zelpp::Library> started[3]; // an end would wake who waits, too
    std::vector<std::thread> threads;
    const auto start = [&](std::optional<zelpp::Library> &one) {
        threads.emplace_back([&one] { one = zelpp::Library(); });
    };
    const auto finish = [&] {
        for (std::thread &thread : threads)
            thread.join();
        threads.clear();
    };
    {
        const zelpp::detail::Inside inside(gate);
        threads.emplace_back([&] { library.reset(); });
        std::this_thread::sleep_for(100ms); // the stop waits
        start(started[0]);
        std::this_thread::sleep_for(100ms); // the start waits for the stop
    }
    finish();
    started[0].reset();
    {
        const zelpp::detail::Inside inside(gate);
        start(started[1]);
        start(started[2]);
        std::this_thread::sleep_for(100ms); // one start waits, the other for that one
    }
    finish();
    EXPECT_TRUE(started[1]->tryWait(kPatience));
    EXPECT_TRUE(started[2]->tryWait(kPatience));
}

TEST_F(CppTeardown, ThreadsThatStartAndStopDoNotMeetHalfway)
{
    std::atomic<int> found{0};
    const auto use = [&] {
        for (int i = 0; i < 10; ++i) {
            const zelpp::Library library;
            if (library.tryWait(kPatience))
                ++found;
        }
    };
    std::thread first(use);
    std::thread second(use);
    first.join();
    second.join();
    EXPECT_EQ(found, 20);
    EXPECT_TRUE(isStopped());
}

} // namespace
} // namespace cpphost
