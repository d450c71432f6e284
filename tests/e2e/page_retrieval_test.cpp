#include "e2e/host.h"

namespace {

using namespace zel::test;
using pensim::pageAddress;
using pensim::Reply;
using pensim::Value;
namespace instruction = pensim::instruction;

constexpr std::uint64_t kWrittenPenId = 0x12300abcdef;

Bytes strokes(std::size_t size)
{
    return pensim::generatedStrokes(size, size);
}

pensim::PageSpec page(std::uint64_t address, std::size_t size)
{
    return {address, Value::binary(strokes(size)), {}};
}

// Listed in no order: the library sorts them.
pensim::PenSpec penWithPages()
{
    pensim::PenSpec spec;
    spec.id = kWrittenPenId;
    spec.brand = "Brand";
    spec.softwareVersion = 0x0601;
    spec.pages = {page(pageAddress(0, 11, 2, 3, 45), 300), page(pageAddress(2, 1, 2, 3, 4), 5000),
                  page(pageAddress(0, 0, 2, 3, 4), 7), page(pageAddress(0, 1, 2, 3, 4), 200000)};
    spec.styloPages = {page(pageAddress(0, 9, 9, 9, 9), 20)};
    return spec;
}

// One page of the page data: address, length, flag, number of entries, strokes.
Bytes pageBytes(std::uint64_t address, std::uint8_t flag, std::size_t size)
{
    return wire::bigEndian(address, 8) + wire::bigEndian(size, 4) + Bytes{flag} + wire::bigEndian(0, 2) +
           strokes(size);
}

Bytes entry(std::uint16_t key, const Bytes &value)
{
    return wire::bigEndian(key, 2) + value;
}

Bytes header(std::uint16_t pages)
{
    return Bytes{0x01, 0x00,                                     // version 1.0
                 0x00, 0x18,                                     // header length 24
                 0x00, 0x0f, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, // *.*.*.*
                 0x02, 0x25,                                     // pidget 549
                 0x00, 0x0f,                                     // page header length
                 0x00, 0x02,                                     // page entry header length
                 0x00, 0x02,                                     // entry header length
                 0x00, 0x01} +                                   // value header length
           wire::bigEndian(pages, 2) +
           wire::bigEndian(11, 2); // pages, entries
}

// The pen's identity and the ten properties, in ascending order of their keys.
Bytes entries(std::uint64_t systemTime)
{
    return entry(0x0000, wire::long64(kWrittenPenId)) +                          //
           entry(0x0001, wire::short16(0x0601)) +                                // software version
           entry(0x001f, wire::long64(0)) +                                      // clock difference
           entry(0x0021, wire::long64(systemTime)) +                             //
           entry(0x0022, wire::short16(0x0102)) +                                // pattern version
           entry(0x0023, wire::string("Simulated by pensim")) +                  //
           entry(0x0024, wire::string("Brand")) +                                //
           entry(0x2009, wire::string("en_GB")) +                                // locale
           entry(0x200a, wire::list(std::vector<Bytes>(18, wire::string("")))) + // owner
           entry(0x200b, wire::string("")) +                                     //
           entry(0x200c, wire::string(""));
}

struct Progress {
    std::string penText;
    std::uint32_t soFar;
    std::uint32_t total;
};
std::vector<Progress> g_progress;

void onProgress(const char *penText, std::uint32_t soFar, std::uint32_t total)
{
    g_progress.push_back({penText, soFar, total});
}

class PageRetrieval : public testing::Test
{
protected:
    void SetUp() override
    {
        m_service.start();
        m_pen = &m_service.pen(kWrittenPenId);
        m_host = std::make_unique<Host>();
        g_progress.clear();
    }
    void TearDown() override { m_host.reset(); }

    std::uint32_t fetchAll(PenHandle *pen, Bytes &data, ProgressCallback progress = nullptr)
    {
        std::uint8_t *block = reinterpret_cast<std::uint8_t *>(1);
        std::uint32_t length = 77;
        const std::uint32_t code = zelGetAllPages(pen, progress, &block, &length);
        return take(code, block, length, data);
    }

    std::uint32_t fetch(PenHandle *pen, const char *addresses, Bytes &data)
    {
        std::uint8_t *block = reinterpret_cast<std::uint8_t *>(1);
        std::uint32_t length = 77;
        const std::uint32_t code = zelGetPages(pen, addresses, nullptr, &block, &length);
        return take(code, block, length, data);
    }

    std::uint32_t take(std::uint32_t code, std::uint8_t *block, std::uint32_t length, Bytes &data)
    {
        if (code == ZEL_OK) {
            data = takeData(block, length);
        } else {
            EXPECT_EQ(block, nullptr);
            EXPECT_EQ(length, 0u);
        }
        return code;
    }

    std::uint64_t systemTime() const { return m_pen->property(0x0021).number(); }

    pensim::Service m_service{{}, {{penWithPages()}, {}}};
    pensim::Pen *m_pen = nullptr;
    std::unique_ptr<Host> m_host;
};

TEST_F(PageRetrieval, AllPagesMakeOnePageTransactionRequest)
{
    const Connection connection(*m_host, kWrittenPenId);
    ASSERT_EQ(connection.code(), ZEL_OK);
    Bytes data;
    ASSERT_EQ(fetchAll(connection.pen(), data), ZEL_OK);
    const Bytes expected = header(5) + pageBytes(0x0000090009009009, 0, 20) + // the stylo page first
                           pageBytes(0x0000000002003004, 1, 7) +              // field 2 is 0: flagged
                           pageBytes(0x0000010002003004, 0, 200000) +         //
                           pageBytes(0x00000b000200302d, 0, 300) +            //
                           pageBytes(0x0020010002003004, 0, 5000) +           //
                           entries(systemTime());
    EXPECT_TRUE(data == expected);
    EXPECT_FALSE(m_pen->syncSessionOpen());
    EXPECT_EQ(m_pen->mmiState(), 2);
}

TEST_F(PageRetrieval, AsksThePenInTheOrderThatPensExpect)
{
    const Connection connection(*m_host, kWrittenPenId);
    m_pen->clearRequests();
    Bytes data;
    ASSERT_EQ(fetchAll(connection.pen(), data), ZEL_OK);
    std::vector<std::uint32_t> expected = {instruction::beginSyncSession, instruction::setMmiState,
                                           instruction::listPages};
    expected.insert(expected.end(), 4, instruction::getPage);
    expected.push_back(instruction::getStylo);
    expected.insert(expected.end(), 10, instruction::getProperty);
    expected.push_back(instruction::endSyncSession);
    expected.push_back(instruction::setMmiState);
    std::vector<std::uint32_t> codes;
    for (const pensim::Request &request : m_pen->requests())
        codes.push_back(request.code);
    EXPECT_EQ(codes, expected);
}

TEST_F(PageRetrieval, ProgressIsToldOnceMoreThanThereArePages)
{
    const Connection connection(*m_host, kWrittenPenId);
    Bytes data;
    ASSERT_EQ(fetchAll(connection.pen(), data, onProgress), ZEL_OK);
    ASSERT_EQ(g_progress.size(), 5u);
    const std::uint32_t soFar[] = {0, 7, 200007, 200307, 205307};
    for (std::size_t i = 0; i < g_progress.size(); ++i) {
        EXPECT_EQ(g_progress[i].penText, "AKZ-AQ7-APS-AC");
        EXPECT_EQ(g_progress[i].soFar, soFar[i]);
        EXPECT_EQ(g_progress[i].total, 205307u);
    }
}

TEST_F(PageRetrieval, PenWithoutPagesGivesItsProperties)
{
    m_pen->clearPages();
    m_pen->setStyloPages({});
    const Connection connection(*m_host, kWrittenPenId);
    Bytes data;
    ASSERT_EQ(fetchAll(connection.pen(), data), ZEL_OK);
    EXPECT_EQ(data, header(0) + entries(systemTime()));
}

TEST_F(PageRetrieval, ListNamesThePagesInOrder)
{
    const Connection connection(*m_host, kWrittenPenId);
    char *text = nullptr;
    std::uint32_t total = 0;
    ASSERT_EQ(zelGetPageList(connection.pen(), &text, &total), ZEL_OK);
    EXPECT_STREQ(text, "0.2.3.4;1.2.3.4;11.2.3.45;2.1.2.3.4;");
    EXPECT_EQ(total, 205307u);
    EXPECT_EQ(zelFreePageList(&text), ZEL_OK);
}

TEST_F(PageRetrieval, SelectedPagesAlone)
{
    const Connection connection(*m_host, kWrittenPenId);
    Bytes data;
    ASSERT_EQ(fetch(connection.pen(), "0.2.3.4;", data), ZEL_OK);
    EXPECT_TRUE(data == header(2) + pageBytes(0x0000090009009009, 0, 20) +
                            pageBytes(0x0000000002003004, 1, 7) + entries(systemTime()));
}

// A page is selected when its address occurs anywhere in the list: hosts must name whole sets.
TEST_F(PageRetrieval, AddressWithinAnotherSelectsBothAndTheCountsDiffer)
{
    const Connection connection(*m_host, kWrittenPenId);
    Bytes data;
    EXPECT_EQ(fetch(connection.pen(), "2.1.2.3.4", data), ZEL_ERR_INVALID_ARGUMENT); // selects 1.2.3.4, too
    EXPECT_EQ(fetch(connection.pen(), "2.1.2.3.4;1.2.3.4", data), ZEL_OK);
}

TEST_F(PageRetrieval, ListThatSelectsNothingEndsTheSession)
{
    const Connection connection(*m_host, kWrittenPenId);
    Bytes data;
    for (const char *addresses : {"", ";;", "7.7.7.7", "0.2.3.4;7.7.7.7"}) {
        m_pen->clearRequests();
        EXPECT_EQ(fetch(connection.pen(), addresses, data), ZEL_ERR_INVALID_ARGUMENT) << addresses;
        EXPECT_EQ(m_pen->requestCount(instruction::endSyncSession), 1u);
        EXPECT_EQ(m_pen->mmiState(), 3);
    }
}

TEST_F(PageRetrieval, BusyPenSendsNothing)
{
    m_pen->setSyncBusy(true);
    const Connection connection(*m_host, kWrittenPenId);
    m_pen->clearRequests();
    Bytes data;
    EXPECT_EQ(fetchAll(connection.pen(), data), ZEL_ERR_SYNC_BUSY);
    EXPECT_EQ(m_pen->requests().size(), 1u);
}

TEST_F(PageRetrieval, RemovedPageIsGone)
{
    const Connection connection(*m_host, kWrittenPenId);
    EXPECT_EQ(zelRemovePage(connection.pen(), "1.2.3.4"), ZEL_OK);
    EXPECT_EQ(m_pen->pages().size(), 3u);
    EXPECT_EQ(zelRemovePage(connection.pen(), "1.2.3.4"), ZEL_ERR_UNEXPECTED); // the pen says no
    EXPECT_EQ(zelRemovePage(connection.pen(), "1.2.3"), ZEL_ERR_UNEXPECTED);   // no address
    EXPECT_EQ(zelRemoveAllStrokes(connection.pen()), ZEL_OK);
    EXPECT_TRUE(m_pen->pages().empty());
}

TEST_F(PageRetrieval, LockedPenConnectsAndRefusesItsPages)
{
    m_pen->setPassword("secret", "hint");
    m_pen->lock();
    const Connection connection(*m_host, kWrittenPenId);
    EXPECT_EQ(connection.code(), ZEL_OK);
    EXPECT_EQ(m_pen->requestCount(instruction::getProperty), 0u); // a locked pen is not asked for its version
    Bytes data;
    EXPECT_EQ(fetchAll(connection.pen(), data), ZEL_ERR_PEN_LOCKED);
    char *text = nullptr;
    std::uint32_t total = 0;
    EXPECT_EQ(zelGetPageList(connection.pen(), &text, &total), ZEL_ERR_UNEXPECTED);
    EXPECT_EQ(zelGetPenProductName(connection.pen(), &text), ZEL_ERR_PEN_LOCKED);
}

// The pen fails in the middle and answers again: the session is ended in order.
TEST_F(PageRetrieval, FailureOfOneExchangeEndsTheSession)
{
    const Connection connection(*m_host, kWrittenPenId);
    for (const std::uint32_t code : {instruction::setMmiState, instruction::listPages, instruction::getPage,
                                     instruction::getStylo, instruction::getProperty}) {
        m_pen->clearRules();
        m_pen->onInstruction(code, Reply::withStatus(-1), 1);
        Bytes data;
        EXPECT_EQ(fetchAll(connection.pen(), data), ZEL_ERR_INVALID_ARGUMENT);
        EXPECT_FALSE(m_pen->syncSessionOpen());
        EXPECT_EQ(m_pen->mmiState(), 3);
    }
}

// Each exchange of a retrieval is cut at every byte of its response, up to a few dozen: a host sees
// a lost connection, and the next call on a fresh connection works.
TEST_F(PageRetrieval, ResponseCutAnywhereIsALostConnection)
{
    m_pen->clearPages();
    m_pen->addPage(page(pageAddress(0, 1, 2, 3, 4), 30));
    for (const std::uint32_t code :
         {instruction::beginSyncSession, instruction::setMmiState, instruction::listPages,
          instruction::getPage, instruction::getStylo, instruction::endSyncSession}) {
        for (std::size_t length = 0; length < 8; ++length) {
            m_pen->clearRules();
            m_pen->onInstruction(code, Reply::cut(length), 1);
            const Connection connection(*m_host, kWrittenPenId);
            Bytes data;
            EXPECT_EQ(fetchAll(connection.pen(), data), ZEL_ERR_COMMUNICATION) << code << " " << length;
        }
    }
    const Connection fresh(*m_host, kWrittenPenId);
    Bytes data;
    EXPECT_EQ(fetchAll(fresh.pen(), data), ZEL_OK);
}

TEST_F(PageRetrieval, ConnectionResetAmidThePagesIsALostConnection)
{
    m_pen->onInstruction(instruction::getPage, Reply::resetting(), 2);
    const Connection connection(*m_host, kWrittenPenId);
    Bytes data;
    EXPECT_EQ(fetchAll(connection.pen(), data), ZEL_ERR_COMMUNICATION);
}

TEST_F(PageRetrieval, PenThatRefusesTheConnectionLeavesAHandleToDisconnect)
{
    DiscoveryHandle *record = m_host->record(kWrittenPenId);
    m_pen->refuseConnections(true);
    PenHandle *pen = nullptr;
    EXPECT_EQ(zelConnectPen(record, &pen), ZEL_ERR_UNEXPECTED);
    EXPECT_NE(pen, nullptr);
    EXPECT_EQ(zelDisconnectPen(&pen), ZEL_OK);
    EXPECT_EQ(pen, nullptr);
}

TEST_F(PageRetrieval, ProductNameIsThePensOwn)
{
    const Connection connection(*m_host, kWrittenPenId);
    char *text = nullptr;
    ASSERT_EQ(zelGetPenProductName(connection.pen(), &text), ZEL_OK);
    EXPECT_EQ(takeText(text), "Brand");
    m_pen->setProperty(0x0024, Value::null());
    EXPECT_EQ(zelGetPenProductName(connection.pen(), &text), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(text, nullptr);
}

} // namespace
