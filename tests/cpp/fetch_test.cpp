#include "host_pens.h"
#include "hosts.h"

#include <stdexcept>
#include <thread>

namespace cpphost {
namespace {

using pensim::Reply;
namespace instruction = pensim::instruction;
using CppFetch = ConnectedPen;

TEST_F(CppFetch, GivesEveryPageWithItsStrokes)
{
    const zelpp::PageData data = connect().fetchAll();
    EXPECT_EQ(addressesOf(data), (Strings{"0.9.9.9", "0.2.3.4", "1.2.3.4", "11.2.3.45", "2.1.2.3.4"}));
    EXPECT_EQ(data.penId(), kPenId);
    EXPECT_EQ(data.penSerial(), kSerial);
    const Bytes strokes = pensim::generatedStrokes(5000, 5000);
    EXPECT_TRUE(std::ranges::equal(data[4].strokes(), strokes));
    EXPECT_TRUE(data[0].isStylo());
    EXPECT_FALSE(data[4].isStylo());
}

TEST_F(CppFetch, PageDataOutlivesThePenAndTheLibrary)
{
    zelpp::PageData data = connect().fetchAll();
    m_library = zelpp::Library::tryStart().value();
    const zelpp::PageData copy = data;
    data = zelpp::PageData::parse(data.bytes().copy());
    EXPECT_EQ(copy.size(), 5u);
    EXPECT_TRUE(std::ranges::equal(copy.bytes(), data.bytes()));
}

// Asking for each subset of pages gives exactly these, whatever addresses occur within others.
TEST_F(CppFetch, EverySelectionGivesThePagesAskedFor)
{
    const zelpp::Pen pen = connect();
    const zelpp::PageData all = pen.fetchAll();
    const Strings pages = pen.pages().addresses;
    ASSERT_EQ(pages.size(), 4u);
    for (unsigned chosen = 1; chosen < 1u << pages.size(); ++chosen) {
        Strings wanted;
        for (std::size_t i = 0; i < pages.size(); ++i)
            if ((chosen >> i & 1) != 0)
                wanted.push_back(pages[i]);
        Strings expected = {"0.9.9.9"}; // the stylo page comes always
        expected.insert(expected.end(), wanted.begin(), wanted.end());
        std::reverse(wanted.begin(), wanted.end());
        wanted.push_back(wanted.front());
        const zelpp::PageData data = pen.fetch(wanted);
        EXPECT_EQ(addressesOf(data), expected) << chosen;
        for (const zelpp::Page &page : data)
            EXPECT_TRUE(std::ranges::equal(page.record(), all.find(page.address())->record()));
        EXPECT_EQ(data.properties().size(), 11u);
        EXPECT_EQ(data.penId(), kPenId);
    }
}

TEST_F(CppFetch, PageAmongManyIsTakenOutAgain)
{
    pensim::PenSpec spec = penWithPages(7);
    Strings wanted{"11.2.3.45"}; // brings 1.2.3.4 along
    for (int i = 0; i < 400; ++i) {
        wanted.push_back("5.5.5." + std::to_string(1000 + i));
        spec.pages.push_back(page(wanted.back().c_str(), 1));
    }
    m_service.dock(spec);
    const zelpp::Pen pen = m_library.connect(m_library.wait(zelpp::serialText(7), kPatience));
    const zelpp::PageData data = pen.fetch(wanted);
    EXPECT_EQ(data.size(), 402u) << "with the stylo page";
    EXPECT_FALSE(data.find("1.2.3.4"));
}

TEST_F(CppFetch, AddressMayBeWrittenWithItsFirstField)
{
    EXPECT_EQ(addressesOf(connect().fetch({"0.1.2.3.4"})), (Strings{"0.9.9.9", "1.2.3.4"}));
}

TEST_F(CppFetch, AddressThatIsNoneOrThatThePenLacksIsNamed)
{
    const zelpp::Pen pen = connect();
    const zelpp::Result<zelpp::PageData> none = pen.tryFetch({"1.2.3"});
    ASSERT_FALSE(none);
    EXPECT_EQ(none.error().reason(), Errc::invalidArgument);
    EXPECT_NE(std::string(none.error().what()).find("\"1.2.3\" is no page address"), std::string::npos);
    const zelpp::Result<zelpp::PageData> missing = pen.tryFetch({"1.2.3.4", "7.7.7.7"});
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().detail(), "the pen has no page 7.7.7.7");
    EXPECT_STREQ(missing.error().what(),
                 "zelGetPages (the pen has no page 7.7.7.7): An argument cannot be used, "
                 "or the pen did not do what it was asked.");
    EXPECT_THROW(pen.fetch({"7.7.7.7"}), zelpp::InvalidArgumentError);
    EXPECT_THROW(pen.fetch({}), zelpp::InvalidArgumentError);
}

TEST_F(CppFetch, ProgressIsToldBeforeTheFirstPageAndAfterEach)
{
    std::vector<std::uint32_t> pages;
    std::vector<std::uint32_t> bytes;
    connect().fetchAll([&](const zelpp::FetchProgress &progress) {
        pages.push_back(progress.pages);
        bytes.push_back(progress.bytesSoFar);
        EXPECT_EQ(progress.bytesTotal, 205307u);
    });
    EXPECT_EQ(pages, (std::vector<std::uint32_t>{0, 1, 2, 3, 4}));
    EXPECT_EQ(bytes, (std::vector<std::uint32_t>{0, 7, 200007, 200307, 205307}));
}

// The library cannot be left by an exception: it is kept until the retrieval is over.
TEST_F(CppFetch, ExceptionOfTheCallbackReachesTheCallerAndLeavesThePenUsable)
{
    const zelpp::Pen pen = connect();
    int calls = 0;
    EXPECT_THROW(pen.fetchAll([&](const zelpp::FetchProgress &) {
        if (++calls == 2)
            throw std::out_of_range("the host's own");
    }),
                 std::out_of_range);
    EXPECT_EQ(calls, 2) << "nothing is told once the callback has thrown";
    EXPECT_FALSE(m_pen->syncSessionOpen());
    EXPECT_EQ(pen.fetchAll().size(), 5u);
}

TEST_F(CppFetch, CallbackMayFetchFromAnotherPen)
{
    m_service.dock(penWithPages(7));
    const zelpp::Pen pen = connect();
    const zelpp::Pen other = m_library.connect(m_library.wait(zelpp::serialText(7), kPatience));
    std::vector<std::uint32_t> outer;
    std::vector<std::uint32_t> inner;
    pen.fetchAll([&](const zelpp::FetchProgress &progress) {
        outer.push_back(progress.pages);
        if (progress.pages == 1)
            other.fetchAll([&](const zelpp::FetchProgress &others) { inner.push_back(others.pages); });
    });
    const std::vector<std::uint32_t> expected{0, 1, 2, 3, 4};
    EXPECT_EQ(outer, expected);
    EXPECT_EQ(inner, expected);
}

TEST_F(CppFetch, PenThatLeavesInTheMiddleIsALostConnection)
{
    const zelpp::Pen pen = connect();
    zelpp::Events events = m_library.events();
    EXPECT_THROW(pen.fetchAll([&](const zelpp::FetchProgress &progress) {
        if (progress.pages == 1)
            m_service.undock(kPenId);
    }),
                 zelpp::CommunicationError);
    EXPECT_EQ(events.next(kPatience)->kind, zelpp::PenEvent::Kind::arrived);
    EXPECT_EQ(events.next(kPatience)->kind, zelpp::PenEvent::Kind::departed);
    EXPECT_TRUE(m_library.pens().empty());
    EXPECT_EQ(thrown([&] { pen.time(); }), Errc::communication);
    EXPECT_EQ(thrown([&] { pen.pages(); }), Errc::communication) << "though the library says 11";
    EXPECT_EQ(thrown([&] { m_library.connect(pen.info()); }), Errc::noPen);
}

TEST_F(CppFetch, LockedPenSaysSoWhateverItIsAskedFor)
{
    m_pen->setPassword("secret", "hint");
    m_pen->lock();
    zelpp::Pen pen = connect();
    EXPECT_TRUE(pen.isLocked());
    EXPECT_EQ(pen.passwordHint(), "hint");
    EXPECT_THROW(pen.fetchAll(), zelpp::LockedError);
    EXPECT_THROW(pen.fetch({"1.2.3.4"}), zelpp::LockedError);
    EXPECT_THROW(pen.pages(), zelpp::LockedError);
    EXPECT_THROW(pen.removePage("1.2.3.4"), zelpp::LockedError);
    EXPECT_THROW(pen.removeAllStrokes(), zelpp::LockedError);
    EXPECT_THROW(pen.productName(), zelpp::LockedError);
    EXPECT_THROW(pen.unlock("wrong"), zelpp::InvalidArgumentError);
    pen.unlock("secret");
    EXPECT_FALSE(pen.isLocked());
    EXPECT_EQ(pen.fetchAll().size(), 5u);
}

TEST_F(CppFetch, BusyPenIsTold)
{
    m_pen->setSyncBusy(true);
    const zelpp::Pen pen = connect();
    EXPECT_THROW(pen.fetchAll(), zelpp::BusyError);
    EXPECT_EQ(pen.tryFetch({"1.2.3.4"}).error().code(), Errc::syncBusy);
    m_pen->setSyncBusy(false);
    EXPECT_EQ(pen.fetchAll().size(), 5u);
}

TEST_F(CppFetch, RefusedPageBreaksTheRetrievalOff)
{
    const zelpp::Pen pen = connect();
    m_pen->onInstruction(instruction::getPage, Reply::withStatus(-1), 1);
    const zelpp::Result<zelpp::PageData> refused = pen.tryFetchAll();
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().reason(), Errc::invalidArgument);
    EXPECT_NE(std::string(refused.error().what()).find("the pen broke the retrieval off"), std::string::npos);
    m_pen->onInstruction(instruction::listPages, Reply::withStatus(-1), 1);
    EXPECT_EQ(thrown([&] { pen.pages(); }), Errc::unexpected) << "neither locked nor gone";
    EXPECT_EQ(pen.fetchAll().size(), 5u) << "the connection is not lost";
}

TEST_F(CppFetch, DamagedAnswerEndsTheConnection)
{
    zelpp::Pen pen = connect();
    m_pen->onInstruction(instruction::getPage, Reply::withBytes({0x0c}), 1); // no type of value
    EXPECT_THROW(pen.fetchAll(), zelpp::CommunicationError);
    EXPECT_THROW(pen.pages(), zelpp::CommunicationError);
    pen.disconnect();
    while (m_pen->syncSessionOpen()) // until the service has seen that
        std::this_thread::sleep_for(1ms);
    EXPECT_EQ(connect().fetchAll().size(), 5u) << "a new one works";
}

TEST_F(CppFetch, RemovedPageIsGone)
{
    zelpp::Pen pen = connect();
    pen.removePage("1.2.3.4");
    EXPECT_EQ(pen.pages().addresses, (Strings{"0.2.3.4", "11.2.3.45", "2.1.2.3.4"}));
    EXPECT_EQ(pen.pages().totalBytes, 5307u);
    EXPECT_EQ(thrown([&] { pen.removePage("1.2.3.4"); }), Errc::unexpected) << "the pen says no";
    EXPECT_EQ(thrown([&] { pen.removePage("1.2.3"); }), Errc::invalidArgument);
    EXPECT_EQ(thrown([&] { pen.removePage(std::string("1.2.3.4\0", 8)); }), Errc::invalidArgument);
    pen.removeAllStrokes();
    EXPECT_TRUE(pen.pages().addresses.empty());
}

TEST_F(CppFetch, SourcesInCpp17AndWithoutExceptionsMakeOneProgram)
{
    EXPECT_EQ(cpp17HostFetches("akz-aq7-aps-ac"), 5u);
    m_library = zelpp::Library(std::move(m_library));
    const PenWithoutExceptions refused = noExceptionsHostFetches();
    EXPECT_EQ(refused.serial, "") << "the two kinds cannot both start the library at once";
}

TEST(CppHosts, HostWithoutExceptionsWorksWithResults)
{
    pensim::Service service({}, {{penWithPages()}, {}});
    service.start();
    const PenWithoutExceptions seen = noExceptionsHostFetches();
    EXPECT_EQ(seen.serial, kSerial);
    EXPECT_EQ(seen.pages, 5u);
    EXPECT_EQ(seen.failure, ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(seen.sentence, "zelGetPages (the pen has no page 7.7.7.7): An argument cannot be used, or the "
                             "pen did not do what it was asked.");
}

} // namespace
} // namespace cpphost
