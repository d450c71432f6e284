#include "support/connected_pen.h"
#include "support/log_capture.h"

#include "zel/zel.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <tuple>

namespace {

using namespace zel;
using namespace zel::test;

using Instructions = std::vector<std::string>;

// Two pages that hold strokes, listed by the pen in descending order, and one stylo page.
constexpr std::uint64_t kPageA = 0x010002003004;     // 1.2.3.4
constexpr std::uint64_t kPageB = 0x010002003005;     // 1.2.3.5
constexpr std::uint64_t kStyloPage = 0x002002003004; // 0.8194.3.4
const Bytes kStrokesA = {0xa1, 0xa2, 0xa3};
const Bytes kStrokesB = {0xb1};
const Bytes kStyloStrokes = {0xc1, 0xc2};

Bytes listed(std::uint64_t address, std::uint32_t size)
{
    return wire::list({wire::long64(address), wire::int32(size)});
}

const Bytes kSessionOpened = wire::result(wire::int32(1));
const Bytes kDone = wire::status(0);
const Bytes kPages = wire::result(wire::list({listed(kPageB, 20), listed(kPageA, 300)}));
const Bytes kStylo =
    wire::result(wire::list({wire::list({wire::long64(kStyloPage), wire::binary(kStyloStrokes)})}));

/** The answers to a whole retrieval of both pages, in the order of the requests. */
std::vector<Bytes> wholeRetrieval()
{
    std::vector<Bytes> answers = {
        kSessionOpened,
        kDone, // MMI state 1
        kPages,         wire::result(wire::binary(kStrokesA)), wire::result(wire::binary(kStrokesB)), kStylo};
    for (int i = 0; i < 10; ++i)
        answers.push_back(wire::result(wire::byte(static_cast<std::uint8_t>(i))));
    answers.push_back(kDone); // end of the session
    answers.push_back(kDone); // MMI state 2
    return answers;
}

const Instructions kWholeRetrieval = {"U0YB", "R2SM", "U0PI", "U0PG", "U0PG", "U0PY", "R1GP", "R1GP", "R1GP",
                                      "R1GP", "R1GP", "R1GP", "R1GP", "R1GP", "R1GP", "R1GP", "U0YE", "R2SM"};

Bytes mmiState(std::uint16_t state)
{
    return wire::request("R2SM", {wire::short16(state)});
}

/** What a retrieval handed out. */
struct Retrieved {
    uint32_t code = 0;
    bool hasBlock = false;
    uint32_t length = 0;
    Bytes block;
};

std::vector<std::tuple<std::string, uint32_t, uint32_t>> s_progress;

void recordProgress(const char *penText, uint32_t bytesSoFar, uint32_t bytesTotal)
{
    s_progress.emplace_back(penText, bytesSoFar, bytesTotal);
}

class PageExports : public testing::Test
{
protected:
    PageExports() { s_progress.clear(); }

    void answer(const std::vector<Bytes> &answers)
    {
        m_pen.service().forget();
        for (const Bytes &bytes : answers)
            m_pen.service().then(bytes);
    }

    template <class Call>
    Retrieved retrieve(Call call)
    {
        static uint8_t left = 0x77;
        uint8_t *data = &left;
        Retrieved retrieved;
        retrieved.length = 0x7777;
        retrieved.code = call(&data, &retrieved.length);
        retrieved.hasBlock = data != nullptr;
        if (data != nullptr)
            retrieved.block.assign(data, data + retrieved.length);
        EXPECT_EQ(zelFreePageData(&data), ZEL_OK);
        return retrieved;
    }

    Retrieved getAllPages(ProgressCallback progress = nullptr)
    {
        return retrieve([&](uint8_t **data, uint32_t *length) {
            return zelGetAllPages(m_pen.handle(), progress, data, length);
        });
    }

    Retrieved getPages(const char *addresses, ProgressCallback progress = nullptr)
    {
        return retrieve([&](uint8_t **data, uint32_t *length) {
            return zelGetPages(m_pen.handle(), addresses, progress, data, length);
        });
    }

    static void expectEmpty(const Retrieved &retrieved, uint32_t code)
    {
        EXPECT_EQ(retrieved.code, code);
        EXPECT_FALSE(retrieved.hasBlock);
        EXPECT_EQ(retrieved.length, 0u);
    }

    InitializedLibrary m_library;
    ConnectedPen m_pen;
    LogCapture m_log;
};

// --- a whole retrieval

TEST_F(PageExports, RetrievalSendsItsRequestsInOrder)
{
    answer(wholeRetrieval());
    EXPECT_EQ(getAllPages().code, ZEL_OK);
    const Bytes limit = wire::long64(0x7fffffffffffffff);
    const auto property = [](std::uint16_t id) { return wire::request("R1GP", {wire::short16(id)}); };
    const std::vector<Bytes> expected = {
        wire::request("U0YB"),
        mmiState(1),
        wire::request("U0PI"),
        wire::request("U0PG", {wire::long64(kPageA), wire::long64(2), limit}), // ascending by address
        wire::request("U0PG", {wire::long64(kPageB), wire::long64(2), limit}),
        wire::request("U0PY"),
        property(0x0022),
        property(0x0001),
        property(0x0021),
        property(0x2009),
        property(0x200a),
        property(0x200b),
        property(0x200c),
        property(0x0023),
        property(0x0024),
        property(0x001f),
        wire::request("U0YE"),
        mmiState(2),
    };
    EXPECT_EQ(m_pen.service().requests(), expected);
}

TEST_F(PageExports, RetrievalHandsOutOnePageTransactionRequest)
{
    answer(wholeRetrieval());
    const Retrieved retrieved = getAllPages();
    const Bytes expected = {
        0x01, 0x00,                                     // protocol version 1.0
        0x00, 0x18,                                     // header length
        0x00, 0x0f, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, // page address *.*.*.*
        0x02, 0x25,                                     // pidget 549
        0x00, 0x0f,                                     // page header length
        0x00, 0x02,                                     // page entry header length
        0x00, 0x02,                                     // entry header length
        0x00, 0x01,                                     // value header length
        0x00, 0x03,                                     // pages
        0x00, 0x0b,                                     // entries: the identity and ten properties

        0x00, 0x00, 0x00, 0x20, 0x02, 0x00, 0x30, 0x04, // the stylo page comes first
        0x00, 0x00, 0x00, 0x02,                         // bytes of data
        0x01,                                           // bits 40 to 51 of its address are 0
        0x00, 0x00,                                     // page entries
        0xc1, 0xc2,                                     // data

        0x00, 0x00, 0x01, 0x00, 0x02, 0x00, 0x30, 0x04, // page 1.2.3.4
        0x00, 0x00, 0x00, 0x03,                         // bytes of data
        0x00,                                           // bits 40 to 51 of its address are not 0
        0x00, 0x00,                                     // page entries
        0xa1, 0xa2, 0xa3,                               // data

        0x00, 0x00, 0x01, 0x00, 0x02, 0x00, 0x30, 0x05, // page 1.2.3.5
        0x00, 0x00, 0x00, 0x01,                         // bytes of data
        0x00,                                           // bits 40 to 51 of its address are not 0
        0x00, 0x00,                                     // page entries
        0xb1,                                           // data

        0x00, 0x00, 0x05, 0x00, 0x00, 0x01, 0x23, 0x00, 0xab, 0xcd, 0xef, // pen id, long64
        0x00, 0x01, 0x02, 0x01,                                           // 0x0001, read second
        0x00, 0x1f, 0x02, 0x09,                                           // 0x001f, read last
        0x00, 0x21, 0x02, 0x02,                                           // 0x0021
        0x00, 0x22, 0x02, 0x00,                                           // 0x0022, read first
        0x00, 0x23, 0x02, 0x07,                                           // 0x0023
        0x00, 0x24, 0x02, 0x08,                                           // 0x0024
        0x20, 0x09, 0x02, 0x03,                                           // 0x2009
        0x20, 0x0a, 0x02, 0x04,                                           // 0x200a
        0x20, 0x0b, 0x02, 0x05,                                           // 0x200b
        0x20, 0x0c, 0x02, 0x06,                                           // 0x200c
    };
    EXPECT_EQ(retrieved.code, ZEL_OK);
    EXPECT_EQ(retrieved.length, expected.size());
    EXPECT_EQ(retrieved.block, expected);
}

TEST_F(PageExports, WithoutStyloPagesTheFetchedPagesComeFirst)
{
    std::vector<Bytes> answers = wholeRetrieval();
    answers[5] = wire::result(wire::list({})); // no stylo pages
    answers[3] = wire::result(wire::binary({}));
    answer(answers);
    const Retrieved retrieved = getAllPages();
    const Bytes pages = {
        0x00, 0x02, // pages
        0x00, 0x0b, // entries: the identity and ten properties

        0x00, 0x00, 0x01, 0x00, 0x02, 0x00, 0x30, 0x04, // page 1.2.3.4
        0x00, 0x00, 0x00, 0x00,                         // bytes of data
        0x00,                                           // bits 40 to 51 of its address are not 0
        0x00, 0x00,                                     // page entries

        0x00, 0x00, 0x01, 0x00, 0x02, 0x00, 0x30, 0x05, // page 1.2.3.5
        0x00, 0x00, 0x00, 0x01,                         // bytes of data
        0x00,                                           // bits 40 to 51 of its address are not 0
        0x00, 0x00,                                     // page entries
        0xb1,                                           // data

        0x00, 0x00, 0x05, 0x00, 0x00, 0x01, 0x23, 0x00, 0xab, 0xcd, 0xef, // pen id, long64
    };
    ASSERT_EQ(retrieved.length, 22u + pages.size() + 10u * 4u);
    EXPECT_EQ(Bytes(retrieved.block.begin() + 22, retrieved.block.end() - 40), pages);
    EXPECT_EQ(Bytes(retrieved.block.end() - 4, retrieved.block.end()), (Bytes{0x20, 0x0c, 0x02, 0x06}));
}

/** The pen may list a page twice: what it gives for it last stands where the page came first. */
TEST_F(PageExports, PageFetchedTwiceIsInTheRequestOnce)
{
    std::vector<Bytes> answers = wholeRetrieval();
    answers[2] = wire::result(wire::list({listed(kPageA, 20), listed(kPageA, 300)}));
    answers[4] = wire::result(wire::binary(Bytes(40, 0xb1)));
    answers[5] = wire::result(wire::list({}));
    answer(answers);
    const Retrieved retrieved = getAllPages();
    ASSERT_EQ(retrieved.length, 26u + (15u + 40u) + 11u + 10u * 4u);
    EXPECT_EQ(Bytes(retrieved.block.begin() + 22, retrieved.block.begin() + 24), (Bytes{0x00, 0x01}));
    EXPECT_EQ(Bytes(retrieved.block.begin() + 41, retrieved.block.begin() + 81), Bytes(40, 0xb1));
}

/** The stylo page takes as many bytes as the page that was fetched twice gives up. */
TEST_F(PageExports, StyloPagesComeFirstWhateverTheSizeOfTheRequest)
{
    std::vector<Bytes> answers = wholeRetrieval();
    answers[2] = wire::result(wire::list({listed(kPageA, 20), listed(kPageB, 20), listed(kPageB, 300)}));
    answers.insert(answers.begin() + 4, wire::result(wire::binary({0xb2, 0xb3})));
    answer(answers);
    const Retrieved retrieved = getAllPages();
    ASSERT_EQ(retrieved.length, 26u + (15u + 2u) + (15u + 3u) + (15u + 1u) + 11u + 10u * 4u);
    const auto strokesAt = [&](std::size_t place, std::size_t length) {
        const auto begin = retrieved.block.begin() + static_cast<std::ptrdiff_t>(place);
        return Bytes(begin, begin + static_cast<std::ptrdiff_t>(length));
    };
    EXPECT_EQ(strokesAt(26 + 15, 2), kStyloStrokes);
    EXPECT_EQ(strokesAt(26 + 17 + 15, 3), kStrokesA);
    EXPECT_EQ(strokesAt(26 + 17 + 18 + 15, 1), kStrokesB);
}

TEST_F(PageExports, StrokesOfManyChunksAreWhole)
{
    Bytes strokes(700000);
    for (std::size_t i = 0; i < strokes.size(); ++i)
        strokes[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
    for (const Bytes &stylo : {kStylo, wire::result(wire::list({}))}) {
        std::vector<Bytes> answers = wholeRetrieval();
        answers[4] = wire::result(wire::binary(strokes));
        answers[5] = stylo;
        answer(answers);
        const Retrieved retrieved = getAllPages();
        ASSERT_EQ(retrieved.code, ZEL_OK);
        const auto end = retrieved.block.end() - 11 - 10 * 4;
        EXPECT_TRUE(Bytes(end - 700000, end) == strokes);
    }
}

TEST_F(PageExports, RetrievalIsLogged)
{
    answer(wholeRetrieval());
    getAllPages();
    std::vector<LogCapture::Entry> texts;
    for (const auto &entry : m_log.entries())
        if (!entry.second.starts_with("[PspClient2::") && !entry.second.starts_with("Received and parsed"))
            texts.push_back(entry);
    EXPECT_EQ(texts, (std::vector<LogCapture::Entry>{
                         {LogLevel::Debug, "[GetPage]"},
                         {LogLevel::Info, "Beginning sync session in pen."},
                         {LogLevel::Info, "Getting list of pages with strokes from pen."},
                         {LogLevel::Info, "[GetPage] zelGetAllPages mode"},
                         {LogLevel::Info, "Preparing to get strokes from 2 physical pages"},
                         {LogLevel::Info, "Retreived strokes (3 bytes) from page 1.2.3.4"},
                         {LogLevel::Info, "Retreived strokes (1 bytes) from page 1.2.3.5"},
                         {LogLevel::Info, "Preparing to get stylo strokes from pen."},
                         {LogLevel::Info, "Received 1 stylo pages containing 2 bytes total."}}));
}

/** Once more than there are pages; the sizes are those of the page list. */
TEST_F(PageExports, ProgressIsReportedBeforeTheFirstPageAndAfterEach)
{
    answer(wholeRetrieval());
    EXPECT_EQ(getAllPages(recordProgress).code, ZEL_OK);
    const decltype(s_progress) expected = {
        {kPenSerial, 0, 320}, {kPenSerial, 300, 320}, {kPenSerial, 320, 320}};
    EXPECT_EQ(s_progress, expected);
}

TEST_F(PageExports, PenWithoutPagesGivesIdentityPropertiesAndStyloPages)
{
    for (const Bytes &noPages : {wire::result(wire::list({})), wire::result(wire::null())}) {
        std::vector<Bytes> answers = wholeRetrieval();
        answers[2] = noPages;
        answers.erase(answers.begin() + 3, answers.begin() + 5);
        answer(answers);
        const Retrieved retrieved = getAllPages(recordProgress);
        EXPECT_EQ(retrieved.code, ZEL_OK);
        // header, stylo page, pen id and ten byte properties
        EXPECT_EQ(retrieved.length, 26u + (15u + 2u) + 11u + 10u * 4u);
    }
    EXPECT_EQ(s_progress.size(), 2u);
}

TEST_F(PageExports, StyloElementsThatAreNoListAreSkipped)
{
    std::vector<Bytes> answers = wholeRetrieval();
    const Bytes stylo = wire::list({wire::long64(kStyloPage), wire::binary(kStyloStrokes)});
    answers[5] = wire::result(wire::list({wire::int32(7), stylo, {0x0f}, wire::null()}));
    answer(answers);
    EXPECT_EQ(getAllPages().code, ZEL_OK);
    EXPECT_TRUE(m_log.contains("Received 1 stylo pages containing 2 bytes total."));
}

TEST_F(PageExports, StyloPageMayRepeatAPhysicalOneAndIsReplacedByIt)
{
    std::vector<Bytes> answers = wholeRetrieval();
    answers[5] = wire::result(wire::list({wire::list({wire::long64(kPageA), wire::binary(kStyloStrokes)})}));
    answer(answers);
    const Retrieved retrieved = getAllPages();
    EXPECT_EQ(retrieved.length, 26u + (15u + 3u) + (15u + 1u) + 11u + 10u * 4u);
}

TEST_F(PageExports, EscapedStrokesAreTakenUnescaped)
{
    std::vector<Bytes> answers = wholeRetrieval();
    answers[3] = wire::result({0x0e, 0xdb, 0xdc, 0x41, 0xc0}); // C0 41
    answer(answers);
    const Retrieved retrieved = getAllPages();
    EXPECT_EQ(retrieved.code, ZEL_OK);
    EXPECT_EQ(Bytes(retrieved.block.begin() + 26 + 17 + 15, retrieved.block.begin() + 26 + 17 + 17),
              (Bytes{0xc0, 0x41}));
}

// --- opening the session

TEST_F(PageExports, RefusedSessionGives9AndIsNotEnded)
{
    for (const Bytes &refusal : {wire::result(wire::int32(0)), wire::result(wire::boolean(false)),
                                 wire::result(wire::null()), wire::status(0)}) {
        answer({refusal});
        expectEmpty(getAllPages(), ZEL_ERR_SYNC_BUSY);
        EXPECT_EQ(m_pen.service().instructions(), Instructions{"U0YB"});
    }
    EXPECT_TRUE(m_log.contains(LogLevel::Warning,
                               "Failed to begin pen sync session. Get pages failed, try again later."));
}

TEST_F(PageExports, AnyNonZeroNumberOpensTheSession)
{
    for (const Bytes &opened :
         {wire::result(wire::boolean(true)), wire::result(wire::byte(9)), wire::result(wire::short16(0x100)),
          wire::result(wire::long64(0x100000000)), wire::status(1)}) {
        std::vector<Bytes> answers = wholeRetrieval();
        answers[0] = opened;
        answer(answers);
        EXPECT_EQ(getAllPages().code, ZEL_OK);
    }
}

TEST_F(PageExports, ExceptionOfTheOpeningIsNotFollowedByAnEnd)
{
    const struct {
        std::int32_t status;
        uint32_t code;
        const char *text;
    } cases[] = {
        {-9002, ZEL_ERR_COMMUNICATION, "[GetPages] failed, pen not connected"},
        {-9003, ZEL_ERR_PEN_LOCKED, "[GetPages] failed, pen is locked"},
        {-9001, ZEL_ERR_UNEXPECTED, "GetPages caught an undefined exception."},
        {-1, ZEL_ERR_UNEXPECTED, "GetPages caught an undefined exception."},
    };
    for (const auto &oneCase : cases) {
        m_log.clear();
        answer({wire::status(oneCase.status)});
        expectEmpty(getAllPages(), oneCase.code);
        EXPECT_EQ(m_pen.service().instructions(), Instructions{"U0YB"});
        EXPECT_TRUE(m_log.contains(LogLevel::Error, oneCase.text));
    }
}

// --- failures inside the session

TEST_F(PageExports, FailureAtAnyStepEndsTheSessionAndGives1)
{
    const std::vector<Bytes> whole = wholeRetrieval();
    for (const std::int32_t status : {-1, -9001, -9002, -9003, -4013}) {
        for (std::size_t step = 1; step < whole.size(); ++step) {
            std::vector<Bytes> answers(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(step));
            answers.push_back(wire::status(status));
            answers.push_back(kDone); // end of the session
            answers.push_back(kDone); // MMI state 3
            answer(answers);
            expectEmpty(getAllPages(), ZEL_ERR_INVALID_ARGUMENT);

            Instructions expected(kWholeRetrieval.begin(),
                                  kWholeRetrieval.begin() + static_cast<std::ptrdiff_t>(step + 1));
            expected.insert(expected.end(), {"U0YE", "R2SM"});
            EXPECT_EQ(m_pen.service().instructions(), expected) << "step " << step;
            EXPECT_EQ(m_pen.service().requests().back(), mmiState(3));
        }
    }
}

TEST_F(PageExports, AnswersOfTheWrongTypeEndTheSessionAndGive1)
{
    const std::pair<std::size_t, Bytes> cases[] = {
        {2, wire::result(wire::int32(1))},                                       // page list
        {2, wire::result(wire::list({wire::int32(1)}))},                         // page of the list
        {3, wire::result(wire::string("strokes"))},                              // strokes
        {3, wire::result(wire::null())},                                         // strokes
        {5, wire::result(wire::null())},                                         // stylo list
        {5, wire::result(wire::list({wire::list({wire::long64(kStyloPage)})}))}, // stylo page without strokes
        {5, wire::result(wire::list({wire::list({wire::long64(kStyloPage), wire::byte(1)})}))},
    };
    for (const auto &[step, wrong] : cases) {
        std::vector<Bytes> answers = wholeRetrieval();
        answers[step] = wrong;
        answers.resize(step + 1);
        // Requests up to the failing step; pages may have to be fetched before it shows.
        answers.push_back(kDone);
        answers.push_back(kDone);
        answer(answers);
        expectEmpty(getAllPages(), ZEL_ERR_INVALID_ARGUMENT);
        EXPECT_EQ(m_pen.service().requests().back(), mmiState(3));
    }
}

// Pens have heard of the session's end by then, and hear of it again.
TEST_F(PageExports, MorePagesThanCanBeCountedAreFoundBehindTheEndOfTheSession)
{
    std::vector<Bytes> styloPages;
    for (std::uint64_t i = 0; i < 65535; ++i)
        styloPages.push_back(wire::list({wire::long64(kStyloPage + i), wire::binary({})}));
    std::vector<Bytes> answers = wholeRetrieval();
    answers[5] = wire::result(wire::list(styloPages));
    answer(answers);
    m_pen.service().then(kDone);
    expectEmpty(getAllPages(), ZEL_ERR_INVALID_ARGUMENT);
    Instructions expected(kWholeRetrieval.begin(), kWholeRetrieval.end() - 1);
    expected.insert(expected.end(), {"U0YE", "R2SM"});
    EXPECT_EQ(m_pen.service().instructions(), expected);
    EXPECT_EQ(m_pen.service().requests().back(), mmiState(3));
}

TEST_F(PageExports, EndOfTheSessionThatFailsInTurnDecidesTheCode)
{
    const struct {
        std::int32_t status;
        uint32_t code;
        const char *text;
    } cases[] = {
        {-9002, ZEL_ERR_COMMUNICATION, "[GetPages] failed, pen not connected"},
        {-9003, ZEL_ERR_PEN_LOCKED, "[GetPages] failed, pen is locked"},
        {-1, ZEL_ERR_UNEXPECTED, "GetPages caught an undefined exception."},
    };
    for (const auto &oneCase : cases) {
        m_log.clear();
        answer({kSessionOpened, wire::status(-1), wire::status(oneCase.status)});
        expectEmpty(getAllPages(), oneCase.code);
        EXPECT_EQ(m_pen.service().instructions(), (Instructions{"U0YB", "R2SM", "U0YE"}));
        EXPECT_TRUE(m_log.contains(LogLevel::Error, oneCase.text));

        answer({kSessionOpened, wire::status(-1), kDone, wire::status(oneCase.status)});
        expectEmpty(getAllPages(), oneCase.code);
        EXPECT_EQ(m_pen.service().instructions(), (Instructions{"U0YB", "R2SM", "U0YE", "R2SM"}));
    }
}

TEST_F(PageExports, ProgressCallbackThatThrowsEndsTheSessionAndGives1)
{
    answer({kSessionOpened, kDone, kPages, kDone, kDone});
    expectEmpty(getAllPages([](const char *, uint32_t, uint32_t) { throw std::runtime_error("host"); }),
                ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(m_pen.service().instructions(), (Instructions{"U0YB", "R2SM", "U0PI", "U0YE", "R2SM"}));
}

/** Cut anywhere, the connection is lost: the session cannot be ended any more. */
TEST_F(PageExports, ResponseCutAtEveryByteGives3AndAFreshConnectionWorks)
{
    const std::vector<Bytes> whole = wholeRetrieval();
    for (std::size_t step = 0; step < whole.size(); ++step) {
        for (std::size_t after = 0; after < whole[step].size(); ++after) {
            answer({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(step)});
            m_pen.service().then(cut(whole[step], after));
            const Retrieved retrieved = getAllPages();
            ASSERT_EQ(retrieved.code, ZEL_ERR_COMMUNICATION) << "step " << step << ", byte " << after;
            ASSERT_FALSE(retrieved.hasBlock);
            ASSERT_EQ(retrieved.length, 0u);
            m_pen.reconnect();
        }
    }
    answer(whole);
    EXPECT_EQ(getAllPages().code, ZEL_OK);
}

TEST_F(PageExports, ConnectionResetInARetrievalGives3)
{
    const std::vector<Bytes> whole = wholeRetrieval();
    for (std::size_t step = 0; step < whole.size(); ++step) {
        answer({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(step)});
        m_pen.service().then(cut(whole[step], 3, Answer::Then::Reset));
        expectEmpty(getAllPages(), ZEL_ERR_COMMUNICATION);
        m_pen.reconnect();
    }
}

// --- selected pages

TEST_F(PageExports, ListedPagesAreFetched)
{
    std::vector<Bytes> answers = wholeRetrieval();
    answer(answers);
    const Retrieved both = getPages("1.2.3.4;1.2.3.5;", recordProgress);
    EXPECT_EQ(both.code, ZEL_OK);
    EXPECT_EQ(s_progress.size(), 3u);
    EXPECT_TRUE(m_log.contains(LogLevel::Info, "[GetPage] zelGetPages mode"));

    answers.erase(answers.begin() + 3);
    answer(answers);
    s_progress.clear();
    const Retrieved one = getPages("1.2.3.5", recordProgress);
    EXPECT_EQ(one.code, ZEL_OK);
    EXPECT_EQ(one.length, both.length - 15 - 3);
    const decltype(s_progress) expected = {{kPenSerial, 0, 20}, {kPenSerial, 20, 20}};
    EXPECT_EQ(s_progress, expected);
}

TEST_F(PageExports, ListThatDoesNotMatchThePenEndsTheSessionAndGives1)
{
    const struct {
        const char *addresses;
        const char *text;
    } cases[] = {
        {"", "[GetPages] no pages found in page address list"},
        {"nothing", "[GetPages] no pages found in page address list"},
        {"9.9.9.9;", "[GetPages] no pages from the page address list found in pen"},
        {"1.2.3.4;9.9.9.9", "[GetPages] number of pages do not match pen"},
        {"1.2.3.4 1.2.3.5", "[GetPages] number of pages do not match pen"},
    };
    for (const auto &oneCase : cases) {
        m_log.clear();
        answer({kSessionOpened, kDone, kPages, kDone, kDone});
        expectEmpty(getPages(oneCase.addresses, recordProgress), ZEL_ERR_INVALID_ARGUMENT);
        EXPECT_EQ(m_pen.service().instructions(), (Instructions{"U0YB", "R2SM", "U0PI", "U0YE", "R2SM"}));
        EXPECT_EQ(m_pen.service().requests().back(), mmiState(3));
        EXPECT_TRUE(m_log.contains(LogLevel::Error, oneCase.text)) << oneCase.addresses;
    }
    EXPECT_TRUE(s_progress.empty());
}

/** The list is searched as a text: 1.2.3.4 occurs in 11.2.3.45, so the counts differ. */
TEST_F(PageExports, AddressInsideAListedOneIsSelectedToo)
{
    const Bytes pages =
        wire::result(wire::list({listed(kPageA, 1), listed(0x0b000200302d, 1)})); // 1.2.3.4 and 11.2.3.45
    answer({kSessionOpened, kDone, pages, kDone, kDone});
    expectEmpty(getPages("11.2.3.45;"), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_TRUE(m_log.contains("[GetPages] number of pages do not match pen"));
}

TEST_F(PageExports, MismatchWhoseEndFailsIsTriedOnceMore)
{
    answer({kSessionOpened, kDone, kPages, kDone, wire::status(-1), kDone, kDone});
    expectEmpty(getPages("9.9.9.9"), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(m_pen.service().instructions(),
              (Instructions{"U0YB", "R2SM", "U0PI", "U0YE", "R2SM", "U0YE", "R2SM"}));
}

// --- arguments

TEST_F(PageExports, NullArgumentsAreRefusedWithoutARequest)
{
    uint8_t *data = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(zelGetAllPages(m_pen.handle(), nullptr, nullptr, &length), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelGetAllPages(m_pen.handle(), nullptr, &data, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    expectEmpty(getPages(nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelRemovePage(m_pen.handle(), nullptr), ZEL_ERR_INVALID_ARGUMENT);
    char *text = nullptr;
    EXPECT_EQ(zelGetPageList(m_pen.handle(), nullptr, &length), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelGetPageList(m_pen.handle(), &text, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_TRUE(m_pen.service().requests().empty());
    EXPECT_TRUE(m_log.entries().empty());
}

TEST_F(PageExports, NullPenIsRefused)
{
    HandedText text;
    uint32_t total = 0;
    expectEmpty(retrieve([](uint8_t **data, uint32_t *length) {
                    return zelGetAllPages(nullptr, nullptr, data, length);
                }),
                ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelGetPageList(nullptr, text.out(), &total), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelRemovePage(nullptr, "1.2.3.4"), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelRemoveAllStrokes(nullptr), ZEL_ERR_INVALID_ARGUMENT);
}

TEST_F(PageExports, PenWithoutClientIsRefusedBeforeAnythingIsLogged)
{
    ConnectedPen lost;
    lost.service().stopListening();
    PenHandle *pen = nullptr;
    const DiscoveryRecord record = arrivalOf(lost.service(), 0x0503);
    EXPECT_EQ(zelConnectPen(&record, &pen), ZEL_ERR_UNEXPECTED);
    m_log.clear();
    expectEmpty(retrieve([&](uint8_t **data, uint32_t *length) {
                    return zelGetAllPages(pen, nullptr, data, length);
                }),
                ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_TRUE(m_log.entries().empty());

    // The other page exports know one code for every failure.
    HandedText text;
    uint32_t total = 0;
    EXPECT_EQ(zelGetPageList(pen, text.out(), &total), ZEL_ERR_UNEXPECTED);
    EXPECT_EQ(zelRemovePage(pen, "1.2.3.4"), ZEL_ERR_UNEXPECTED);
    EXPECT_EQ(zelRemoveAllStrokes(pen), ZEL_ERR_UNEXPECTED);
    EXPECT_EQ(zelDisconnectPen(&pen), ZEL_OK);
}

TEST(PageExportsUninitialised, GiveNotInitializedAndEmptyOutputs)
{
    uint8_t left = 0;
    uint8_t *data = &left;
    uint32_t length = 7;
    EXPECT_EQ(zelGetAllPages(nullptr, nullptr, &data, &length), ZEL_ERR_NOT_INITIALIZED);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(length, 0u);
    data = &left;
    length = 7;
    EXPECT_EQ(zelGetPages(nullptr, nullptr, nullptr, &data, &length), ZEL_ERR_NOT_INITIALIZED);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(length, 0u);
    char text[] = "left over";
    char *list = text;
    length = 7;
    EXPECT_EQ(zelGetPageList(nullptr, &list, &length), ZEL_ERR_NOT_INITIALIZED);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(zelRemovePage(nullptr, nullptr), ZEL_ERR_NOT_INITIALIZED);
    EXPECT_EQ(zelRemoveAllStrokes(nullptr), ZEL_ERR_NOT_INITIALIZED);
}

// --- page list and removal

TEST_F(PageExports, PageListIsSortedText)
{
    m_pen.service().then(kPages);
    char *text = nullptr;
    uint32_t total = 0;
    EXPECT_EQ(zelGetPageList(m_pen.handle(), &text, &total), ZEL_OK);
    EXPECT_STREQ(text, "1.2.3.4;1.2.3.5;");
    EXPECT_EQ(total, 320u);
    EXPECT_EQ(zelFreePageList(&text), ZEL_OK);
    EXPECT_EQ(m_pen.service().requests(), std::vector<Bytes>{wire::request("U0PI")});
    EXPECT_TRUE(m_log.contains(LogLevel::Debug, "[zelGetPageList]"));
}

TEST_F(PageExports, PageListOfAnEmptyPenIsEmpty)
{
    m_pen.service().then(wire::result(wire::null()));
    HandedText text;
    uint32_t total = 7;
    EXPECT_EQ(zelGetPageList(m_pen.handle(), text.out(), &total), ZEL_OK);
    EXPECT_EQ(text.text(), "");
    EXPECT_EQ(total, 0u);
}

TEST_F(PageExports, PageListFailsWithOneCode)
{
    for (const std::int32_t status : {-1, -9001, -9002, -9003}) {
        m_log.clear();
        answer({wire::status(status)});
        char left[] = "left over";
        char *text = left;
        uint32_t total = 7;
        EXPECT_EQ(zelGetPageList(m_pen.handle(), &text, &total), ZEL_ERR_UNEXPECTED);
        EXPECT_EQ(text, nullptr);
        EXPECT_EQ(total, 0u);
        EXPECT_TRUE(m_log.contains(LogLevel::Error, "zelGetPageList caught an undefined exception."));
    }
}

TEST_F(PageExports, RemovedPageIsNamedByItsAddress)
{
    m_pen.service().then(kDone);
    EXPECT_EQ(zelRemovePage(m_pen.handle(), "1.2.3.4"), ZEL_OK);
    EXPECT_EQ(m_pen.service().requests(),
              std::vector<Bytes>{wire::request(
                  "U0PR", {wire::long64(kPageA), wire::long64(2), wire::long64(0x7fffffffffffffff)})});
    EXPECT_TRUE(m_log.contains(LogLevel::Debug, "[zelRemovePage]"));
}

TEST_F(PageExports, MalformedAddressIsNotSent)
{
    for (const char *address : {"", "1.2.3", "01.2.3.4", "1.*.3.4", "4096.0.0.0"})
        EXPECT_EQ(zelRemovePage(m_pen.handle(), address), ZEL_ERR_UNEXPECTED) << address;
    EXPECT_TRUE(m_pen.service().requests().empty());
    EXPECT_TRUE(m_log.contains(LogLevel::Error, "zelRemovePage caught an undefined exception."));
}

TEST_F(PageExports, RemovalFailsWithOneCode)
{
    for (const std::int32_t status : {-1, -9001, -9002, -9003}) {
        answer({wire::status(status), wire::status(status)});
        EXPECT_EQ(zelRemovePage(m_pen.handle(), "1.2.3.4"), ZEL_ERR_UNEXPECTED);
        EXPECT_EQ(zelRemoveAllStrokes(m_pen.handle()), ZEL_ERR_UNEXPECTED);
    }
}

TEST_F(PageExports, AllStrokesAreClearedWithMode0)
{
    m_pen.service().then(kDone);
    EXPECT_EQ(zelRemoveAllStrokes(m_pen.handle()), ZEL_OK);
    EXPECT_EQ(m_pen.service().requests(), std::vector<Bytes>{wire::request("R1DS", {wire::int32(0)})});
    EXPECT_TRUE(m_log.contains(LogLevel::Debug, "[zelRemoveAllStrokes]"));
}

/** Hosts know the failure by the text of removing one page. */
TEST_F(PageExports, FailedRemovalOfAllStrokesLogsTheTextOfRemovePage)
{
    m_pen.service().then(wire::status(-1));
    EXPECT_EQ(zelRemoveAllStrokes(m_pen.handle()), ZEL_ERR_UNEXPECTED);
    EXPECT_TRUE(m_log.contains(LogLevel::Error, "zelRemovePage caught an undefined exception."));
    EXPECT_FALSE(m_log.contains("zelRemoveAllStrokes caught an undefined exception."));
}

} // namespace
