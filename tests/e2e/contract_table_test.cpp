#include "announced_pen.h"
#include "contract_table.h"

#include "hash_chaining_value.h"
#include "support/hex.h"
#include "support/log_capture.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace contract {

namespace {

using e2e::AnnouncedPen;
using zel::test::Answer;
using zel::test::closing;
namespace wire = zel::test::wire;

constexpr std::uint16_t kSoftware = 0x0503;

std::string logName(const Row &row)
{
    return row.logName.empty() ? row.name : row.logName;
}

Lines entryOf(const Row &row)
{
    return row.entry.value_or(Lines{debug("[" + logName(row) + "]")});
}

/** The end of a failed call. */
struct Failure {
    std::uint32_t code;
    std::string text;
};

Failure unexpected(const Row &row)
{
    return {ZEL_ERR_UNEXPECTED, logName(row) + " caught an undefined exception."};
}

Failure failure(const Row &row, std::uint32_t code, const std::string &ownText, const std::string &after)
{
    if (code == ZEL_ERR_UNEXPECTED)
        return unexpected(row);
    return {code, ownText.empty() ? "[" + logName(row) + "]" + after : ownText};
}

Failure locked(const Row &row)
{
    return failure(row, row.lockedCode, row.lockedText, " failed, pen is locked");
}

Failure lost(const Row &row, const std::string &reason)
{
    Failure result = failure(row, ZEL_ERR_COMMUNICATION, row.connectionText, " failed");
    if (const std::size_t at = result.text.find("%s"); at != std::string::npos)
        result.text.replace(at, 2, reason);
    return result;
}

Failure unknown(const Row &row)
{
    return failure(row, row.unknownCode, row.unknownText, " failed, pen does not support the operation.");
}

/** A text of the exchange with the pen, or of the listener, which is not done with the last arrival. */
bool isOfLowerLayer(const std::string &text)
{
    static constexpr const char *kBeginnings[] = {
        "[PspClient",  "Value::copy",  "Received and parsed value", "[SocketStream]", "Rendezvous",
        "[Rendezvous", "Pen connected"};
    return std::any_of(std::begin(kBeginnings), std::end(kBeginnings),
                       [&](const char *beginning) { return text.rfind(beginning, 0) == 0; });
}

/** The texts of the exports alone. */
Lines ownLines(const LogCapture &log)
{
    Lines lines;
    for (const auto &[level, text] : log.entries()) {
        if (!isOfLowerLayer(text))
            lines.push_back({level, text});
    }
    return lines;
}

void append(Lines &lines, const Lines &more)
{
    lines.insert(lines.end(), more.begin(), more.end());
}

class ContractTable : public e2e::OnBench<testing::TestWithParam<Row>>
{
protected:
    void SetUp() override
    {
        static const auto kDefault =
            bytesOfHex<32>("6a09e667bb67ae853c6ef372a54ff53a510e527f9b05688c1f83d9ab5be0cd19");
        if (row().hashes && zel::kHashChainingValue != kDefault)
            GTEST_SKIP() << "the table's digests start from the default chaining value";
    }

    static const Row &row() { return GetParam(); }

    /** Calls the export and compares everything that it leaves behind. */
    static void check(AnnouncedPen &pen, const Failure &failure, const std::string &outputs,
                      const Lines &lines, const std::vector<Bytes> &requests)
    {
        LogCapture log;
        const Outcome got = row().call(pen.handle());
        EXPECT_EQ(got.code, failure.code);
        EXPECT_EQ(got.outputs, outputs);
        EXPECT_EQ(pen.requests(), requests);
        if (log.available()) {
            EXPECT_EQ(ownLines(log), lines);
        }
    }

    /** Gives the usual answers to the exchanges before this one, and this answer to it. */
    static void play(AnnouncedPen &pen, std::size_t position, const Answer &answer)
    {
        for (std::size_t i = 0; i < position; ++i)
            pen.answer({.bytes = wire::result(row().exchanges[i].result)});
        pen.answer(answer);
    }

    /** What is logged until this exchange has its answer. */
    static Lines linesUntil(std::size_t position)
    {
        Lines lines = entryOf(row());
        for (std::size_t i = 0; i < position; ++i)
            append(lines, row().exchanges[i].log);
        return lines;
    }

    static std::vector<Bytes> requestsUntil(std::size_t count)
    {
        std::vector<Bytes> requests;
        for (std::size_t i = 0; i < count; ++i)
            requests.push_back(row().exchanges[i].request);
        return requests;
    }

    /** Each exchange in turn gets this answer, and the call fails so. */
    static void checkFailures(const Answer &answer, const Failure &failure)
    {
        for (std::size_t i = 0; i < row().exchanges.size(); ++i) {
            SCOPED_TRACE("exchange " + std::to_string(i));
            AnnouncedPen pen(kSoftware);
            play(pen, i, answer);
            Lines lines = linesUntil(i);
            lines.push_back(error(failure.text));
            check(pen, failure, row().failed, lines, requestsUntil(i + 1));
        }
    }

    static void checkStatus(std::int32_t status, const Failure &failure)
    {
        checkFailures({.bytes = wire::status(status)}, failure);
    }

    /** One exchange gets a result of another type. */
    static void checkResult(std::size_t position, const Sample &sample)
    {
        const Exchange &exchange = row().exchanges[position];
        const Expected expected = exchange.meaning(sample);
        AnnouncedPen pen(kSoftware);
        play(pen, position, {.bytes = wire::result(sample.bytes)});

        Lines lines = linesUntil(position);
        std::vector<Bytes> requests = requestsUntil(position + 1);
        if (expected.code == ZEL_ERR_UNEXPECTED) {
            lines.push_back(error(unexpected(row()).text));
        } else {
            append(lines, expected.log.value_or(exchange.log));
            const std::vector<Exchange> usual(
                row().exchanges.begin() + static_cast<std::ptrdiff_t>(position) + 1, row().exchanges.end());
            for (const Exchange &next : expected.rest.value_or(usual)) {
                pen.answer({.bytes = wire::result(next.result)});
                requests.push_back(next.request);
                append(lines, next.log);
            }
        }
        const std::string usual = expected.code == ZEL_OK ? row().outputs : row().failed;
        check(pen, {expected.code, ""}, expected.outputs.value_or(usual), lines, requests);
    }

    static void checkSuccess(std::uint16_t software)
    {
        AnnouncedPen pen(software);
        for (const Exchange &exchange : row().exchanges)
            pen.answer({.bytes = wire::result(exchange.result)});
        check(pen, {ZEL_OK, ""}, row().outputs, linesUntil(row().exchanges.size()),
              requestsUntil(row().exchanges.size()));
    }

    static void checkNotSupported(std::uint16_t software)
    {
        AnnouncedPen pen(software);
        Lines lines = entryOf(row());
        lines.push_back(debug("[" + logName(row()) + "] not supported by pen"));
        check(pen, {ZEL_ERR_NOT_SUPPORTED, ""}, row().refused, lines, {});
    }
};

} // namespace

TEST_P(ContractTable, UsualAnswersGiveTheOutputs)
{
    checkSuccess(kSoftware);
}

TEST_P(ContractTable, BeforeInitialisationNothingIsLookedAt)
{
    e2e::exitLibrary();
    LogCapture log;
    const Outcome got = row().call(nullptr);
    EXPECT_EQ(got.code, ZEL_ERR_NOT_INITIALIZED);
    EXPECT_EQ(got.outputs, row().refused);
    EXPECT_EQ(ownLines(log), Lines{});
}

TEST_P(ContractTable, AfterExitAAnnouncedPenIsOfNoUse)
{
    AnnouncedPen pen(kSoftware);
    e2e::exitLibrary();
    check(pen, {ZEL_ERR_NOT_INITIALIZED, ""}, row().refused, {}, {});
}

TEST_P(ContractTable, NullPenIsAnInvalidArgument)
{
    e2e::initialiseLibrary();
    LogCapture log;
    const Outcome got = row().call(nullptr);
    EXPECT_EQ(got.code, ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(got.outputs, row().refused);
    EXPECT_EQ(ownLines(log), Lines{});
}

// Versions are compared as signed numbers, so one with its top bit set is older than all others.
TEST_P(ContractTable, SoftwareBelowTheThresholdIsNotAsked)
{
    if (row().threshold == 0) {
        checkSuccess(0x0100);
        checkSuccess(0x8000);
    } else {
        checkNotSupported(static_cast<std::uint16_t>(row().threshold - 1));
        checkNotSupported(0x8000);
        checkSuccess(row().threshold);
    }
}

TEST_P(ContractTable, LockedPenIsTold)
{
    checkStatus(-9003, locked(row()));
}

TEST_P(ContractTable, ConnectionThatThePenLostIsTold)
{
    checkStatus(-9002, lost(row(), ""));
}

TEST_P(ContractTable, ConnectionThatCloses)
{
    checkFailures(closing(), lost(row(), "ProtocolInputStream::read - failed reading 1 bytes"));
}

TEST_P(ContractTable, AnswerThatIsCut)
{
    checkFailures({.bytes = wire::status(0), .then = Answer::Then::Close, .cutAfter = 2},
                  lost(row(), "ProtocolInputStream::read - failed reading 2 bytes"));
}

TEST_P(ContractTable, HandleOfAFailedConnectIsALostConnection)
{
    AnnouncedPen pen(AnnouncedPen::kFailedConnect);
    LogCapture log;
    const Outcome got = row().call(pen.handle());
    EXPECT_EQ(got.code, ZEL_ERR_COMMUNICATION);
    EXPECT_EQ(got.outputs, row().failed);
    if (log.available()) {
        const std::string text = lost(row(), "").text;
        EXPECT_EQ(ownLines(log).back().text.substr(0, text.size()), text);
    }
}

TEST_P(ContractTable, UnknownInstruction)
{
    checkStatus(-9001, unknown(row()));
}

TEST_P(ContractTable, RefusedPropertyIsUnexpected)
{
    checkStatus(-4013, unexpected(row()));
}

TEST_P(ContractTable, AnyOtherNegativeStatusIsUnexpected)
{
    checkStatus(-1, unexpected(row()));
    checkStatus(-2147483647 - 1, unexpected(row()));
}

TEST_P(ContractTable, AnswerThatIsNoListIsUnexpected)
{
    checkFailures({.bytes = wire::int32(0)}, unexpected(row()));
}

TEST_P(ContractTable, ResultOfEveryType)
{
    for (std::size_t i = 0; i < row().exchanges.size(); ++i) {
        for (const Sample &sample : samples()) {
            SCOPED_TRACE("exchange " + std::to_string(i) + ", " + sample.type);
            checkResult(i, sample);
        }
    }
}

namespace {

std::string nameOf(const testing::TestParamInfo<Row> &row)
{
    return row.param.name;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Settings, ContractTable, testing::ValuesIn(settingsRows()), nameOf);
INSTANTIATE_TEST_SUITE_P(Lock, ContractTable, testing::ValuesIn(lockRows()), nameOf);
INSTANTIATE_TEST_SUITE_P(Security, ContractTable, testing::ValuesIn(securityRows()), nameOf);
INSTANTIATE_TEST_SUITE_P(Status, ContractTable, testing::ValuesIn(statusRows()), nameOf);

TEST(ContractRows, ThereIsOneForEachOfThe34Exports)
{
    EXPECT_EQ(settingsRows().size(), 13u);
    EXPECT_EQ(lockRows().size() + securityRows().size(), 16u);
    EXPECT_EQ(statusRows().size(), 5u);
}

} // namespace contract
