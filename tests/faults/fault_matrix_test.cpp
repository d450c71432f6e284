#include "fault_rows.h"
#include "subject.h"

#include "support/byte_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <map>
#include <memory>

namespace faults {

namespace {

using zel::test::Answer;
using zel::test::bytesOf;
using zel::test::closing;
using zel::test::cut;
namespace wire = zel::test::wire;

/** Tells at the end how many variations there were: each is a call on a connection of its own, and the same
 *  call on the next. */
class Tally : public testing::Environment
{
public:
    static void add(const std::string &kind) { ++s_counts[kind]; }

    void TearDown() override
    {
        std::size_t total = 0;
        for (const auto &[kind, count] : s_counts) {
            std::printf("[ matrix   ] %6zu %s\n", count, kind.c_str());
            total += count;
        }
        std::printf("[ matrix   ] %6zu variations in all\n", total);
    }

private:
    static std::map<std::string, std::size_t> s_counts;
};

std::map<std::string, std::size_t> Tally::s_counts;

[[maybe_unused]] const auto *const s_tally = testing::AddGlobalTestEnvironment(new Tally);

/** An answer that is none. */
struct Garbage {
    const char *what;
    Bytes bytes;
    Fault fault;
    Answer::Then then = Answer::Then::Stay;
};

Bytes nested(int depth)
{
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += "08 0001 ";
    return bytesOf(text + "00");
}

const std::vector<Garbage> &garbage()
{
    static const std::vector<Garbage> all = {
        {"a number instead of a list", bytesOf("04 00000000"), Fault::Refused},
        {"null instead of a list", bytesOf("00"), Fault::Refused},
        {"no value at all", bytesOf("0F"), Fault::Refused},
        {"a list without elements", bytesOf("08 0000"), Fault::LostByWord},
        {"a status of 16 bits", bytesOf("08 0001 03 0000"), Fault::LostByWord},
        {"an absent status", bytesOf("08 0001 0F"), Fault::LostByWord},
        {"types that there are not", bytesOf("FF FF FF FF FF FF FF FF"), Fault::Undecodable},
        {"another protocol", bytesOf("'HTTP/1.1 400 Bad Request' 0D 0A 0D 0A"), Fault::Undecodable},
        {"an element of type 12", bytesOf("08 0002 04 00000000 0C"), Fault::Undecodable},
        {"a bad escape", bytesOf("08 0002 04 00000000 0E DB 41 C0"), Fault::Undecodable},
        {"lists in each other without end", nested(300), Fault::Undecodable},
        {"a binary of 2 GiB", bytesOf("08 0002 04 00000000 07 80000000"), Fault::Lost},
        {"the beginning of a binary of nearly 2 GiB", bytesOf("08 0002 04 00000000 07 7FFFFFFF 01"),
         Fault::Lost, Answer::Then::Close},
        {"a list that announces more than it has", bytesOf("08 FFFF 04 00000000 01 01"), Fault::Lost,
         Answer::Then::Close},
    };
    return all;
}

// Of the variations of a test every so manieth is made, each test beginning with another one.
#ifdef ZEL_FAULT_STRIDE
constexpr std::size_t kStride = ZEL_FAULT_STRIDE;
#else
constexpr std::size_t kStride = 1;
#endif

/** One answer of a call is another than usual. */
struct Variation {
    std::string kind;
    std::size_t exchange;
    std::string what;
    Answer answer;
    Expected expected;
    /** The exchanges after that answer. */
    std::vector<Exchange> rest;
};

class FaultsOfExport : public testing::TestWithParam<FaultRow>
{
protected:
    static void SetUpTestSuite()
    {
        std::make_unique<Bench>(); // with the first comes what the system's sockets need
        s_processBefore = zel::test::countProcess();
        s_bench = std::make_unique<Bench>();
    }

    /** Without the service whatever is left is the library's; a descriptor a call would be thousands. */
    static void TearDownTestSuite()
    {
        s_bench.reset();
        const zel::test::ProcessCounts after = zel::test::countProcess(s_processBefore);
        EXPECT_LE(after.descriptors, s_processBefore.descriptors + (zel::test::countsExactly() ? 0 : 8));
        EXPECT_EQ(after.threads, s_processBefore.threads);
    }

    void SetUp() override { s_bench->begin(row()); }

    static const FaultRow &row() { return GetParam(); }

    static std::size_t exchanges() { return row().exchanges.size(); }

    static Bytes usualAnswer(std::size_t exchange) { return wire::result(row().exchanges[exchange].result); }

    void addFault(const std::string &kind, std::size_t exchange, const std::string &what, Answer answer,
                  Fault fault)
    {
        const Expected expected = row().whenFault(exchange, fault);
        m_variations.push_back({kind, exchange, what, std::move(answer), expected,
                                expected.rest.value_or(std::vector<Exchange>{})});
    }

    /** The answer is a result of another type than usual. */
    void addResult(const std::string &kind, std::size_t exchange, Answer answer, const Sample &sample)
    {
        Expected expected = row().exchanges[exchange].meaning(sample);
        if (expected.code == ZEL_OK)
            expected.code = row().code;
        std::vector<Exchange> rest = usualRest(exchange);
        if (expected.code == ZEL_ERR_UNEXPECTED)
            rest.clear();
        m_variations.push_back(
            {kind, exchange, sample.type, std::move(answer), expected, expected.rest.value_or(rest)});
    }

    void addUsual(const std::string &kind, std::size_t exchange, Answer answer)
    {
        m_variations.push_back(
            {kind, exchange, "", std::move(answer), {.code = row().code}, usualRest(exchange)});
    }

    /** Each byte of each answer is the first that does not come. */
    void addEveryByte(const std::string &kind, Answer::Then then)
    {
        for (std::size_t i = row().faultsFrom; i < exchanges(); ++i) {
            const Bytes bytes = usualAnswer(i);
            for (std::size_t at = 0; at < bytes.size(); ++at)
                addFault(kind, i, "byte " + std::to_string(at), cut(bytes, at, then), Fault::Lost);
        }
    }

    void makeThem()
    {
        static std::size_t s_test = 0;
        ASSERT_FALSE(m_variations.empty());
        for (std::size_t i = s_test++ % std::min(kStride, m_variations.size());
             i < m_variations.size() && !HasFailure(); i += kStride) {
            SCOPED_TRACE("exchange " + std::to_string(m_variations[i].exchange) + ", " +
                         m_variations[i].what);
            check(m_variations[i]);
        }
    }

private:
    void check(const Variation &variation)
    {
        Tally::add(variation.kind);
        {
            Subject subject(*s_bench, row().mode);
            const std::vector<Bytes> requests = play(variation);
            const AllocationWatch watch;
            const Outcome got = row().call(subject.handles());
            const bool succeeded = variation.expected.code == row().code;
            EXPECT_EQ(got.code, variation.expected.code);
            EXPECT_EQ(got.outputs,
                      variation.expected.outputs.value_or(succeeded ? row().outputs : row().failed));
            EXPECT_EQ(s_bench->service().requests(), requests);
        }
        s_bench->expectUsual(row());
        s_bench->expectNothingLeft();
    }

    static std::vector<Exchange> usualRest(std::size_t exchange)
    {
        return {row().exchanges.begin() + static_cast<std::ptrdiff_t>(exchange) + 1, row().exchanges.end()};
    }

    /** Gives the service its answers; the requests that belong to them. */
    std::vector<Bytes> play(const Variation &variation)
    {
        std::vector<Bytes> requests;
        for (std::size_t i = 0; i < variation.exchange; ++i) {
            s_bench->service().then(usualAnswer(i));
            requests.push_back(row().exchanges[i].request);
        }
        s_bench->service().then(variation.answer);
        requests.push_back(row().exchanges[variation.exchange].request);
        for (const Exchange &exchange : variation.rest) {
            s_bench->service().then(wire::result(exchange.result));
            requests.push_back(exchange.request);
        }
        return requests;
    }

    static std::unique_ptr<Bench> s_bench;
    static zel::test::ProcessCounts s_processBefore;

    std::vector<Variation> m_variations;
};

std::unique_ptr<Bench> FaultsOfExport::s_bench;
zel::test::ProcessCounts FaultsOfExport::s_processBefore;

} // namespace

TEST_P(FaultsOfExport, AnswerThatIsCutAtAnyByte)
{
    addEveryByte("cut at a byte", Answer::Then::Close);
    makeThem();
}

TEST_P(FaultsOfExport, ConnectionThatIsResetAtAnyByte)
{
    addEveryByte("reset at a byte", Answer::Then::Reset);
    makeThem();
}

TEST_P(FaultsOfExport, AnswerThatIsLate)
{
    for (std::size_t i = row().faultsFrom; i < exchanges(); ++i)
        addUsual("late", i, {.bytes = usualAnswer(i), .delay = std::chrono::milliseconds(2)});
    makeThem();
}

TEST_P(FaultsOfExport, RequestThatIsRefused)
{
    for (std::size_t i = row().faultsFrom; i < exchanges(); ++i)
        addFault("refused", i, "", closing(), Fault::Lost);
    makeThem();
}

TEST_P(FaultsOfExport, ResultOfAnyType)
{
    for (std::size_t i = row().faultsFrom; i < exchanges(); ++i)
        for (const Sample &sample : contract::samples())
            addResult("result of a type", i, {.bytes = wire::result(sample.bytes)}, sample);
    makeThem();
}

TEST_P(FaultsOfExport, NegativeStatus)
{
    static constexpr struct {
        std::int32_t status;
        Fault fault;
    } kStatuses[] = {
        {-9001, Fault::UnknownInstruction},
        {-9002, Fault::LostByWord},
        {-9003, Fault::Locked},
        {-4013, Fault::Refused},
        {-1, Fault::Refused},
        {std::numeric_limits<std::int32_t>::min(), Fault::Refused},
    };
    for (std::size_t i = row().faultsFrom; i < exchanges(); ++i)
        for (const auto &each : kStatuses)
            addFault("negative status", i, std::to_string(each.status), {.bytes = wire::status(each.status)},
                     each.fault);
    makeThem();
}

// Alone it is the result itself.
TEST_P(FaultsOfExport, PositiveStatusAlone)
{
    for (std::size_t i = row().faultsFrom; i < exchanges(); ++i)
        addResult("positive status, 1 element", i, {.bytes = wire::status(5)},
                  {"int32", wire::int32(5), 5, "(int32) 5"});
    makeThem();
}

TEST_P(FaultsOfExport, PositiveStatusWithAResultAndMore)
{
    for (std::size_t i = row().faultsFrom; i < exchanges(); ++i)
        addUsual("positive status, 3 elements", i,
                 {.bytes = wire::list({wire::int32(5), row().exchanges[i].result, wire::string("more")})});
    makeThem();
}

TEST_P(FaultsOfExport, Garbage)
{
    for (std::size_t i = row().faultsFrom; i < exchanges(); ++i)
        for (const auto &each : garbage())
            addFault("garbage", i, each.what, {.bytes = each.bytes, .then = each.then}, each.fault);
    makeThem();
}

namespace {

void expectNoConnection(Bench &bench)
{
    for (const FaultRow &row : connectionRows()) {
        if (row.outputs != "handle")
            continue;
        SCOPED_TRACE(row.name);
        Subject subject(bench, row.mode);
        const Outcome got = row.call(subject.handles());
        EXPECT_EQ(got.code, ZEL_ERR_UNEXPECTED);
        EXPECT_EQ(got.outputs, "handle");
    }
}

} // namespace

// A connection that is not to be had is no pen's answer, but the host finds the same order behind it.
TEST(FaultMatrix, PenThatCannotBeReachedLeavesAHandle)
{
    Bench bench;
    bench.service().stopListening();
    expectNoConnection(bench); // with it comes what the system needs for a refusal
    const std::size_t before = zel::test::countProcess().descriptors;
    expectNoConnection(bench);
    EXPECT_EQ(zel::test::countProcess().descriptors, before);
}

INSTANTIATE_TEST_SUITE_P(Matrix, FaultsOfExport, testing::ValuesIn(askingRows()), nameOfRow);

} // namespace faults
