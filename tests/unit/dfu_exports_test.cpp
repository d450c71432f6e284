#include "dfu/dfu_listener.h"
#include "dfu/dfu_pen_handle.h"
#include "session/manager.h"
#include "support/connected_pen.h"
#include "support/log_capture.h"

#include "zel/zel.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>

namespace {

using namespace zel;
using namespace zel::test;

void freeRecord(DiscoveryHandle *record, void *)
{
    zelFreeDiscoveryHandle(&record);
}

class InitializedDfu
{
public:
    InitializedDfu() { EXPECT_EQ(zelDfuInit(nullptr, freeRecord, freeRecord), ZEL_OK); }
    ~InitializedDfu() { EXPECT_EQ(zelDfuExit(), ZEL_OK); }
    InitializedDfu(const InitializedDfu &) = delete;
    InitializedDfu &operator=(const InitializedDfu &) = delete;
};

DiscoveryRecord departure()
{
    DiscoveryRecord record;
    record.kind = ZEL_PEN_DEPARTED;
    return record;
}

// ---- init, exit, mode ----------------------------------------------------------------------------

TEST(DfuExports, SecondInitIsRefused)
{
    const InitializedDfu dfu;
    EXPECT_EQ(zelDfuInit(nullptr, freeRecord, freeRecord), ZEL_ERR_ALREADY_INITIALIZED);
    EXPECT_EQ(zelDfuInit(nullptr, nullptr, nullptr), ZEL_ERR_ALREADY_INITIALIZED);
}

TEST(DfuExports, InitWithoutACallbackIsRefused)
{
    EXPECT_EQ(zelDfuInit(nullptr, nullptr, freeRecord), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelDfuInit(nullptr, freeRecord, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(dfuListener(), nullptr);
}

TEST(DfuExports, ExitWithoutInitSucceeds)
{
    EXPECT_EQ(zelDfuExit(), ZEL_OK);
}

TEST(DfuExports, BothModesStandAlone)
{
    {
        const InitializedDfu dfu;
        EXPECT_EQ(manager(), nullptr);
        EXPECT_EQ(zelEnumeratePens(), ZEL_ERR_NOT_INITIALIZED);
        const InitializedLibrary library;
        EXPECT_NE(manager(), nullptr);
    }
    EXPECT_EQ(dfuListener(), nullptr);
    const InitializedLibrary library;
    DfuPenHandle handle;
    EXPECT_EQ(zelDfuAbort(&handle), ZEL_ERR_NOT_INITIALIZED);
}

TEST(DfuExports, SerialOfARecordIsTheirsToAskForInEitherMode)
{
    DiscoveryRecord record;
    record.serial = kPenSerial;
    HandedText text;
    EXPECT_EQ(zelGetDevicePenSerial(&record, text.out()), ZEL_ERR_NOT_INITIALIZED);
    const InitializedDfu dfu;
    EXPECT_EQ(zelGetDevicePenSerial(&record, text.out()), ZEL_OK);
    EXPECT_EQ(text.text(), kPenSerial);
}

TEST(DfuExports, ModeNeedsNoInit)
{
    DiscoveryRecord record;
    std::uint8_t mode = 77;
    EXPECT_EQ(zelDfuGetMode(&record, &mode), ZEL_OK);
    EXPECT_EQ(mode, 0);
    record.dfu = 1;
    EXPECT_EQ(zelDfuGetMode(&record, &mode), ZEL_OK);
    EXPECT_EQ(mode, 1);
}

TEST(DfuExports, ModeOfNoRecordIsZero)
{
    std::uint8_t mode = 77;
    EXPECT_EQ(zelDfuGetMode(nullptr, &mode), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(mode, 0);
    const DiscoveryRecord record{};
    EXPECT_EQ(zelDfuGetMode(&record, nullptr), ZEL_ERR_INVALID_ARGUMENT);
}

// ---- connect, disconnect -------------------------------------------------------------------------

TEST(DfuExports, ConnectingNeedsInit)
{
    const DiscoveryRecord record{};
    DfuPenHandle *pen = nullptr;
    EXPECT_EQ(zelDfuConnectPen(&pen, &record), ZEL_ERR_NOT_INITIALIZED);
    EXPECT_EQ(zelDfuDisconnectPen(&pen), ZEL_ERR_NOT_INITIALIZED);
}

TEST(DfuExports, DepartedPenIsNotConnectedTo)
{
    const InitializedDfu dfu;
    const DiscoveryRecord record = departure();
    DfuPenHandle *pen = nullptr;
    EXPECT_EQ(zelDfuConnectPen(&pen, &record), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(pen, nullptr);
    EXPECT_EQ(zelDfuConnectPen(&pen, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelDfuConnectPen(nullptr, &record), ZEL_ERR_INVALID_ARGUMENT);
}

TEST(DfuExports, ConnectingMakesNoRequest)
{
    const InitializedDfu dfu;
    LogCapture log;
    ScriptedPen service;
    const DiscoveryRecord record = arrivalOf(service, 0x0100);
    DfuPenHandle *pen = nullptr;
    EXPECT_EQ(zelDfuConnectPen(&pen, &record), ZEL_OK);
    ASSERT_NE(pen, nullptr);
    EXPECT_EQ(pen->penId, kPenId);
    EXPECT_EQ(zelDfuDisconnectPen(&pen), ZEL_OK);
    EXPECT_EQ(pen, nullptr);
    EXPECT_TRUE(service.waitUntilClosed());
    EXPECT_TRUE(service.requests().empty());
    EXPECT_TRUE(log.contains(LogLevel::Debug, "[DfuClient] instance created"));
    EXPECT_TRUE(log.contains(LogLevel::Debug, "[DfuClient] instance deleted"));
}

// The host gets a handle also when connecting fails, and releases it as usual.
TEST(DfuExports, FailedConnectLeavesAHandleThatBehavesAsALostConnection)
{
    const InitializedDfu dfu;
    ScriptedPen service;
    const DiscoveryRecord record = arrivalOf(service, 0x0100);
    service.stopListening();
    LogCapture log;
    DfuPenHandle *pen = nullptr;
    EXPECT_EQ(zelDfuConnectPen(&pen, &record), ZEL_ERR_UNEXPECTED);
    ASSERT_NE(pen, nullptr);
    EXPECT_EQ(pen->client, nullptr);
    EXPECT_EQ(pen->penId, kPenId);
    EXPECT_TRUE(log.contains(LogLevel::Error, "zelConnectPen caught an undefined exception."));
    EXPECT_EQ(zelDfuAbort(pen), ZEL_ERR_COMMUNICATION);
    EXPECT_EQ(zelDfuDisconnectPen(&pen), ZEL_OK);
    EXPECT_EQ(pen, nullptr);
}

TEST(DfuExports, DisconnectingNothingSucceeds)
{
    const InitializedDfu dfu;
    DfuPenHandle *pen = nullptr;
    EXPECT_EQ(zelDfuDisconnectPen(&pen), ZEL_OK);
    EXPECT_EQ(zelDfuDisconnectPen(nullptr), ZEL_ERR_INVALID_ARGUMENT);
}

// ---- the requests --------------------------------------------------------------------------------

/** A download block as the host lays it out in its own byte order. */
const std::array<std::uint8_t, 7> kBlock = {0x34, 0x12,        // number 0x1234
                                            0x03, 0x00,        // 3 bytes follow
                                            0xA0, 0xA1, 0xA2}; // data
constexpr std::uint8_t kUntouched = 0xEE;

/** One export: how it is called, what it sends, what its log says. */
struct Request {
    const char *name;
    const char *inside;                                           ///< what the client logs
    std::function<uint32_t(DfuPenHandle *, std::uint8_t *)> call; ///< with room for the output
    Bytes sent;
    Bytes goodResult;
    Bytes output;
    const char *succeeded; ///< null for none
    const char *failed;
    Bytes badResult;
    const char *unexpected;
};

struct Command {
    const char *name;
    const char *inside;
    uint32_t (*call)(DfuPenHandle *);
    char digit;
};

Request command(const Command &each, const char *succeeded, const char *failed, const char *unexpected)
{
    return {each.name,
            each.inside,
            [call = each.call](DfuPenHandle *pen, std::uint8_t *) { return call(pen); },
            {0x56, 0x30, 0x30, static_cast<std::uint8_t>(each.digit), 0x00}, // V00x, no arguments
            wire::byte(1),
            {},
            succeeded,
            failed,
            wire::null(),
            unexpected};
}

std::vector<Request> requests()
{
    return {
        command({"zelDfuDetach", "[DfuClient::DfuDetach]", zelDfuDetach, '0'}, "zelDfuDetach succeeded",
                "zelDfuDetach returned: Value: null", "zelDfuDetach caught an undefined exception."),
        command({"zelDfuDetachBoot", "[DfuClient::DfuDetachBoot]", zelDfuDetachBoot, '1'},
                "zelDfuDetachBoot succeeded", "zelDfuDetachBoot returned: Value: null",
                "zelDfuDetachBoot caught an undefined exception."),
        command({"zelDfuClearStatus", "[DfuClient::DfuClearStatus]", zelDfuClearStatus, '6'},
                "zelDfuClearStatus succeeded", "zelDfuClearStatus returned: Value: null",
                "zelDfuClearStatus caught an undefined exception."),
        command({"zelDfuAbort", "[DfuClient::DfuAbort]", zelDfuAbort, '7'}, "zelDfuAbort succeeded",
                "zelDfuAbort returned: Value: null", "zelDfuAbort caught an undefined exception."),
        command({"zelDfuResetPort", "[DfuClient::DfuResetPort]", zelDfuResetPort, '9'},
                "zelDfuResetPort succeeded", "zelDfuResetPort returned: Value: null",
                "zelDfuResetPort caught an undefined exception."),
        // The failure text of a download has always named an upload.
        {"zelDfuDownload",
         "[DfuClient::DfuDownload]",
         [](DfuPenHandle *pen, std::uint8_t *) { return zelDfuDownload(pen, kBlock.data()); },
         {0x56, 0x30, 0x30, 0x33,       // V003
          0x01, 0x00,                   // one argument, key 0
          0x07, 0x00, 0x00, 0x00, 0x07, // binary of 7 bytes: the whole block
          0x34, 0x12, 0x03, 0x00, 0xA0, 0xA1, 0xA2},
         wire::byte(1),
         {},
         "zelDfuDownload succeeded",
         "zelDfuUpload returned: Value: null",
         wire::null(),
         "zelDfuDownload caught an undefined exception."},
        {"zelDfuGetState",
         "[DfuClient::DfuGetState]",
         [](DfuPenHandle *pen, std::uint8_t *output) {
             std::int32_t state = -1;
             const uint32_t code = zelDfuGetState(pen, &state);
             if (code == ZEL_OK)
                 *output = static_cast<std::uint8_t>(state);
             return code;
         },
         {0x56, 0x30, 0x30, 0x38, 0x00}, // V008
         wire::int32(5),
         {5},
         "zelDfuGetState returned: Value: INT32",
         "zelDfuGetState returned: wrong type",
         wire::short16(5),
         "zelDfuGetState caught an undefined exception."},
        {"zelDfuGetStatus",
         "[DfuClient::DfuGetStatus]",
         zelDfuGetStatus,
         {0x56, 0x30, 0x30, 0x35, 0x00}, // V005
         wire::binary({0, 0x10, 0, 0, 5, 0}),
         {0, 0x10, 0, 0, 5, 0},
         nullptr,
         "zelDfuGetStatus returned: wrong type",
         wire::int32(5),
         "zelDfuGetStatus caught an undefined exception."},
        // The descriptor's unexpected-exception text has always named the settings.
        {"zelDfuGetFunctionalDescriptor",
         "[DfuClient::DfuGetFunctionalDescriptor]",
         zelDfuGetFunctionalDescriptor,
         {0x56, 0x30, 0x30, 0x32, 0x00}, // V002
         wire::binary({7, 0x21, 1, 0xFF, 0, 0, 4}),
         {7, 0x21, 1, 0xFF, 0, 0, 4},
         nullptr,
         "zelDfuGetFunctionalDescriptor returned: Value: null",
         wire::null(),
         "zelGetBTSettings caught an undefined exception."},
    };
}

class DfuRequests : public testing::TestWithParam<Request>
{
protected:
    DfuRequests()
    {
        const DiscoveryRecord record = arrivalOf(m_service, 0x0100);
        EXPECT_EQ(zelDfuConnectPen(&m_pen, &record), ZEL_OK);
        m_log.clear();
        m_output.fill(kUntouched);
    }
    ~DfuRequests() override { EXPECT_EQ(zelDfuDisconnectPen(&m_pen), ZEL_OK); }

    uint32_t call() { return GetParam().call(m_pen, m_output.data()); }
    std::string name() const { return GetParam().name; }
    Bytes written(std::size_t count) const { return {m_output.begin(), m_output.begin() + count}; }
    bool isUntouched() const
    {
        return m_output == Output{kUntouched, kUntouched, kUntouched, kUntouched,
                                  kUntouched, kUntouched, kUntouched, kUntouched};
    }
    /** The export's own; the listener logs too. */
    std::size_t errorCount() const
    {
        std::size_t count = 0;
        for (const auto &[level, text] : m_log.entries())
            count += level == LogLevel::Error && text.find("zelDfu") != std::string::npos ? 1u : 0u;
        return count;
    }

    using Output = std::array<std::uint8_t, 8>;

    InitializedDfu m_dfu;
    LogCapture m_log;
    ScriptedPen m_service;
    DfuPenHandle *m_pen = nullptr;
    Output m_output{};
};

TEST_P(DfuRequests, SuccessWritesTheOutput)
{
    m_service.then(wire::result(GetParam().goodResult));
    EXPECT_EQ(call(), ZEL_OK);
    EXPECT_EQ(m_service.requests(), std::vector<Bytes>{GetParam().sent});
    EXPECT_EQ(written(GetParam().output.size()), GetParam().output);
    EXPECT_EQ(m_output[GetParam().output.size()], kUntouched);
    EXPECT_TRUE(m_log.contains(LogLevel::Debug, "[" + name() + "]"));
    EXPECT_TRUE(m_log.contains(LogLevel::Debug, GetParam().inside));
    if (GetParam().succeeded != nullptr) {
        EXPECT_TRUE(m_log.contains(LogLevel::Debug, GetParam().succeeded));
    }
    EXPECT_EQ(errorCount(), 0u);
}

TEST_P(DfuRequests, UnusableResultIsRefusedAndTheOutputUntouched)
{
    m_service.then(wire::result(GetParam().badResult));
    EXPECT_EQ(call(), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_TRUE(isUntouched());
    EXPECT_TRUE(m_log.contains(LogLevel::Error, GetParam().failed));
}

TEST_P(DfuRequests, NullResultIsRefused)
{
    m_service.then(wire::result(wire::null()));
    EXPECT_EQ(call(), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_TRUE(isUntouched());
}

TEST_P(DfuRequests, LockedPenIsTold)
{
    m_service.then(wire::status(-9003));
    EXPECT_EQ(call(), ZEL_ERR_PEN_LOCKED);
    EXPECT_TRUE(isUntouched());
    EXPECT_TRUE(m_log.contains(LogLevel::Error, "[" + name() + "] failed, pen is locked"));
}

TEST_P(DfuRequests, LostConnectionIsTold)
{
    m_service.then(closing());
    EXPECT_EQ(call(), ZEL_ERR_COMMUNICATION);
    EXPECT_TRUE(isUntouched());
    EXPECT_TRUE(m_log.contains(LogLevel::Error, "[" + name() + "] failed"));
}

TEST_P(DfuRequests, EveryOtherFailureIsUnexpected)
{
    for (const std::int32_t status : {-9001, -4013, -1}) {
        m_service.then(wire::status(status));
        EXPECT_EQ(call(), ZEL_ERR_UNEXPECTED);
    }
    EXPECT_TRUE(isUntouched());
    EXPECT_EQ(m_log.count(GetParam().unexpected), 3u);
}

TEST_P(DfuRequests, NullHandleIsRefused)
{
    EXPECT_EQ(GetParam().call(nullptr, m_output.data()), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_TRUE(m_service.requests().empty());
}

INSTANTIATE_TEST_SUITE_P(Exports, DfuRequests, testing::ValuesIn(requests()),
                         [](const auto &each) { return std::string(each.param.name); });

class DfuRequestsNeedInit : public testing::TestWithParam<Request>
{
};

TEST_P(DfuRequestsNeedInit, WithoutItTheyAreRefused)
{
    DfuPenHandle handle;
    std::array<std::uint8_t, 8> output{};
    EXPECT_EQ(GetParam().call(&handle, output.data()), ZEL_ERR_NOT_INITIALIZED);
}

INSTANTIATE_TEST_SUITE_P(Exports, DfuRequestsNeedInit, testing::ValuesIn(requests()),
                         [](const auto &each) { return std::string(each.param.name); });

/** What only some of the requests know. */
class DfuPen : public testing::Test
{
protected:
    DfuPen()
    {
        const DiscoveryRecord record = arrivalOf(m_service, 0x0100);
        EXPECT_EQ(zelDfuConnectPen(&m_pen, &record), ZEL_OK);
    }
    ~DfuPen() override { EXPECT_EQ(zelDfuDisconnectPen(&m_pen), ZEL_OK); }

    InitializedDfu m_dfu;
    LogCapture m_log;
    ScriptedPen m_service;
    DfuPenHandle *m_pen = nullptr;
};

TEST_F(DfuPen, RecordsAreHandedOutThroughACopyThatIsLogged)
{
    std::array<std::uint8_t, 7> output{};
    m_service.then(wire::result(wire::binary({1, 2, 3, 4, 5, 6})));
    EXPECT_EQ(zelDfuGetStatus(m_pen, output.data()), ZEL_OK);
    EXPECT_EQ(output, (std::array<std::uint8_t, 7>{1, 2, 3, 4, 5, 6, 0}));
    EXPECT_EQ(m_log.count("BinaryBuffer ctor - COPYING data"), 1u);

    m_service.then(wire::result(wire::binary({9, 8, 7, 6, 5, 4, 3})));
    EXPECT_EQ(zelDfuGetFunctionalDescriptor(m_pen, output.data()), ZEL_OK);
    EXPECT_EQ(output, (std::array<std::uint8_t, 7>{9, 8, 7, 6, 5, 4, 3}));
    EXPECT_EQ(m_log.count("BinaryBuffer ctor - COPYING data"), 2u);
}

TEST_F(DfuPen, RecordOfAnotherLengthIsRefusedSilently)
{
    std::array<std::uint8_t, 8> output{};
    output.fill(kUntouched);
    const auto before = output;
    for (const std::size_t length : {5u, 7u}) {
        m_service.then(wire::result(wire::binary(Bytes(length, 1))));
        EXPECT_EQ(zelDfuGetStatus(m_pen, output.data()), ZEL_ERR_INVALID_ARGUMENT);
    }
    for (const std::size_t length : {0u, 6u, 8u}) {
        m_service.then(wire::result(wire::binary(Bytes(length, 1))));
        EXPECT_EQ(zelDfuGetFunctionalDescriptor(m_pen, output.data()), ZEL_ERR_INVALID_ARGUMENT);
    }
    EXPECT_EQ(output, before);
    EXPECT_FALSE(m_log.contains("zelDfuGetStatus returned: wrong type"));
    EXPECT_FALSE(m_log.contains("zelDfuGetFunctionalDescriptor returned: Value: null"));
}

TEST_F(DfuPen, StateMayBeNegative)
{
    m_service.then(wire::result(wire::int32(0xFFFFFFFE)));
    std::int32_t state = 0;
    EXPECT_EQ(zelDfuGetState(m_pen, &state), ZEL_OK);
    EXPECT_EQ(state, -2);
}

// Its status alone is the result of an answer that carries no other.
TEST_F(DfuPen, AnswerOfAStatusAloneIsAResult)
{
    m_service.then(wire::status(0));
    EXPECT_EQ(zelDfuAbort(m_pen), ZEL_OK);
}

TEST_F(DfuPen, BlockWithoutDataIsSentAsItsFourBytes)
{
    const std::array<std::uint8_t, 4> block = {0x02, 0x00, 0x00, 0x00};
    m_service.then(wire::result(wire::byte(1)));
    EXPECT_EQ(zelDfuDownload(m_pen, block.data()), ZEL_OK);
    EXPECT_EQ(m_service.requests(), std::vector<Bytes>{Bytes({0x56, 0x30, 0x30, 0x33, // V003
                                                              0x01, 0x00,             // key 0
                                                              0x07, 0, 0, 0, 4,       // binary of 4 bytes
                                                              0x02, 0x00, 0x00, 0x00})});
}

TEST_F(DfuPen, LongestBlockIsSentWhole)
{
    std::vector<std::uint8_t> block(4 + 65535, 0x5A);
    block[2] = 0xFF;
    block[3] = 0xFF;
    m_service.then(wire::result(wire::byte(1)));
    EXPECT_EQ(zelDfuDownload(m_pen, block.data()), ZEL_OK);
    ASSERT_EQ(m_service.requests().size(), 1u);
    EXPECT_EQ(m_service.requests()[0].size(), 4u + 1 + 1 + 5 + block.size());
}

TEST_F(DfuPen, NullOutputsAndBlockAreRefusedWithoutARequest)
{
    EXPECT_EQ(zelDfuGetState(m_pen, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelDfuGetStatus(m_pen, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelDfuGetFunctionalDescriptor(m_pen, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelDfuDownload(m_pen, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_TRUE(m_service.requests().empty());
}

} // namespace
