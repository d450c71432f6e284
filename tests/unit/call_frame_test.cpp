#include "api/call_frame.h"

#include "session/manager.h"
#include "session/pen_handle.h"
#include "support/log_capture.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

#include <new>

namespace {

using namespace zel;

/** A frame needs a manager to exist, not to listen. */
class CallFrameTest : public testing::Test
{
protected:
    CallFrameTest()
    {
        setManager(std::make_unique<CZELManager>());
        m_log.clear();
    }
    ~CallFrameTest() override { setManager(nullptr); }

    template <class Exception>
    std::uint32_t runThrowing(const CallFrame &frame)
    {
        return frame.run(&m_pen, {}, []() -> std::uint32_t { throw Exception(); });
    }

    std::vector<std::string> errors() const
    {
        std::vector<std::string> texts;
        for (const auto &[level, text] : m_log.entries())
            if (level == LogLevel::Error)
                texts.push_back(text);
        return texts;
    }

    PenHandle m_pen;
    LogCapture m_log;
};

using Texts = std::vector<std::string>;

constexpr CallFrame kFrame{.logName = "zelSetAutoPowerOff"};
constexpr CallFrame kSecurityFrame{.logName = "zelClearSigningKey", .catches = Catches::UnknownInstruction};

TEST_F(CallFrameTest, ReturnsTheCodeOfTheBody)
{
    EXPECT_EQ(kFrame.run(&m_pen, {}, [] { return ZEL_ERR_VALUE_OUT_OF_RANGE; }), ZEL_ERR_VALUE_OUT_OF_RANGE);
}

TEST_F(CallFrameTest, LogsItsNameOnEntry)
{
    kFrame.run(&m_pen, {}, [] { return ZEL_OK; });
    EXPECT_EQ(m_log.entries(), (std::vector<LogCapture::Entry>{{LogLevel::Debug, "[zelSetAutoPowerOff]"}}));
}

TEST_F(CallFrameTest, LogsItsOwnEntryMarkInstead)
{
    static constexpr CallFrame frame{.logName = "GetPages", .entryMark = "[GetPage]"};
    frame.run(&m_pen, {}, [] { return ZEL_OK; });
    EXPECT_EQ(m_log.entries(), (std::vector<LogCapture::Entry>{{LogLevel::Debug, "[GetPage]"}}));
}

TEST_F(CallFrameTest, LogsNoEntryWithoutMark)
{
    static constexpr CallFrame frame{.logName = "zelSetTime", .entryMark = CallFrame::kNoMark};
    frame.run(&m_pen, {}, [] { return ZEL_OK; });
    EXPECT_TRUE(m_log.entries().empty());
}

TEST_F(CallFrameTest, MissingManagerComesBeforeMissingArguments)
{
    setManager(nullptr);
    m_log.clear();
    EXPECT_EQ(kFrame.run(nullptr, {false}, [] { return ZEL_OK; }), ZEL_ERR_NOT_INITIALIZED);
    EXPECT_TRUE(m_log.entries().empty());
}

TEST_F(CallFrameTest, MissingArgumentsAreRefusedBeforeTheEntryMark)
{
    EXPECT_EQ(kFrame.run(nullptr, {}, [] { return ZEL_OK; }), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(kFrame.run(&m_pen, {true, false}, [] { return ZEL_OK; }), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(kFrame.run({false}, [] { return ZEL_OK; }), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_TRUE(m_log.entries().empty());
}

TEST_F(CallFrameTest, OutputsArePresetBeforeTheManagerTest)
{
    setManager(nullptr);
    char text[] = "left over";
    char *output = text;
    std::uint64_t used = 7;
    EXPECT_EQ(
        kFrame.run(nullptr, {cleared(&output), preset(&used, ~std::uint64_t{0})}, [] { return ZEL_OK; }),
        ZEL_ERR_NOT_INITIALIZED);
    EXPECT_EQ(output, nullptr);
    EXPECT_EQ(used, ~std::uint64_t{0});
}

TEST_F(CallFrameTest, NullOutputCountsAsNotGiven)
{
    EXPECT_FALSE(cleared<char>(nullptr));
    EXPECT_FALSE(preset<std::uint16_t>(nullptr, 7));
    EXPECT_FALSE(required(nullptr));
}

TEST_F(CallFrameTest, FrameWithoutNeedsRunsWithoutManager)
{
    setManager(nullptr);
    static constexpr CallFrame frame{.logName = "zelFreeString", .needs = Needs::Nothing};
    EXPECT_EQ(frame.run({}, [] { return ZEL_OK; }), ZEL_OK);
}

TEST_F(CallFrameTest, EitherManagerWillDoWhereTheFrameSaysSo)
{
    static constexpr CallFrame frame{.logName = "zelGetDevicePenSerial", .needs = Needs::AnyManager};
    EXPECT_EQ(frame.run({}, [] { return ZEL_OK; }), ZEL_OK);
    setManager(nullptr);
    EXPECT_EQ(frame.run({}, [] { return ZEL_OK; }), ZEL_ERR_NOT_INITIALIZED);
}

TEST_F(CallFrameTest, OrdinaryManagerIsNotThatOfTheFirmwareUpgradeMode)
{
    static constexpr CallFrame frame{.logName = "zelDfuAbort", .needs = Needs::DfuManager};
    EXPECT_EQ(frame.run({}, [] { return ZEL_OK; }), ZEL_ERR_NOT_INITIALIZED);
}

TEST_F(CallFrameTest, OlderPenIsNotAsked)
{
    static constexpr CallFrame frame{.logName = "zelSetWakeUpTime", .minVersion = 0x0502};
    m_pen.softwareVersion = 0x0501;
    bool called = false;
    EXPECT_EQ(frame.run(&m_pen, {},
                        [&] {
                            called = true;
                            return ZEL_OK;
                        }),
              ZEL_ERR_NOT_SUPPORTED);
    EXPECT_FALSE(called);
    EXPECT_EQ(m_log.entries(),
              (std::vector<LogCapture::Entry>{{LogLevel::Debug, "[zelSetWakeUpTime]"},
                                              {LogLevel::Debug, "[zelSetWakeUpTime] not supported by pen"}}));
}

TEST_F(CallFrameTest, VersionsCompareAsSignedNumbers)
{
    static constexpr CallFrame frame{.logName = "zelSetWakeUpTime", .minVersion = 0x0502};
    const auto code = [&](std::uint16_t version) {
        m_pen.softwareVersion = version;
        return frame.run(&m_pen, {}, [] { return ZEL_OK; });
    };
    EXPECT_EQ(code(0x0502), ZEL_OK);
    EXPECT_EQ(code(0x7fff), ZEL_OK);
    EXPECT_EQ(code(0x8000), ZEL_ERR_NOT_SUPPORTED);
}

TEST_F(CallFrameTest, FrameWithoutThresholdTakesEveryVersion)
{
    m_pen.softwareVersion = 0x8000;
    EXPECT_EQ(kFrame.run(&m_pen, {}, [] { return ZEL_OK; }), ZEL_OK);
}

TEST_F(CallFrameTest, LostConnectionGives3)
{
    EXPECT_EQ(runThrowing<PspConnectionException>(kFrame), ZEL_ERR_COMMUNICATION);
    EXPECT_EQ(errors(), Texts{"[zelSetAutoPowerOff] failed"});
}

TEST_F(CallFrameTest, LockedPenGives2)
{
    EXPECT_EQ(runThrowing<PspPenIsLockedException>(kFrame), ZEL_ERR_PEN_LOCKED);
    EXPECT_EQ(errors(), Texts{"[zelSetAutoPowerOff] failed, pen is locked"});
}

TEST_F(CallFrameTest, UnknownInstructionGives4WhereItIsCaught)
{
    EXPECT_EQ(runThrowing<PspUnknownInstructionException>(kSecurityFrame), ZEL_ERR_NOT_SUPPORTED);
    EXPECT_EQ(errors(), Texts{"[zelClearSigningKey] failed, pen does not support the operation."});
}

TEST_F(CallFrameTest, UnknownInstructionGives11Elsewhere)
{
    EXPECT_EQ(runThrowing<PspUnknownInstructionException>(kFrame), ZEL_ERR_UNEXPECTED);
    EXPECT_EQ(errors(), Texts{"zelSetAutoPowerOff caught an undefined exception."});
}

TEST_F(CallFrameTest, EveryOtherExceptionGives11)
{
    EXPECT_EQ(runThrowing<std::bad_alloc>(kSecurityFrame), ZEL_ERR_UNEXPECTED);
    EXPECT_EQ(runThrowing<IOException>(kSecurityFrame), ZEL_ERR_UNEXPECTED);
    EXPECT_EQ(runThrowing<PspSetPropertyException>(kSecurityFrame), ZEL_ERR_UNEXPECTED);
    EXPECT_EQ(runThrowing<ZELException>(kSecurityFrame), ZEL_ERR_UNEXPECTED);
    EXPECT_EQ(runThrowing<int>(kSecurityFrame), ZEL_ERR_UNEXPECTED);
    EXPECT_EQ(errors(), Texts(5, "zelClearSigningKey caught an undefined exception."));
}

TEST_F(CallFrameTest, FrameThatCatchesConnectionsOnlyLeavesTheLockUnexpected)
{
    static constexpr CallFrame frame{.logName = "zelUnLockPen", .catches = Catches::Connection};
    EXPECT_EQ(runThrowing<PspConnectionException>(frame), ZEL_ERR_COMMUNICATION);
    EXPECT_EQ(runThrowing<PspPenIsLockedException>(frame), ZEL_ERR_UNEXPECTED);
    EXPECT_EQ(errors(), (Texts{"[zelUnLockPen] failed", "zelUnLockPen caught an undefined exception."}));
}

TEST_F(CallFrameTest, FrameThatCatchesNothingLeavesEverythingUnexpected)
{
    static constexpr CallFrame frame{.logName = "zelRemovePage", .catches = Catches::Nothing};
    EXPECT_EQ(runThrowing<PspConnectionException>(frame), ZEL_ERR_UNEXPECTED);
    EXPECT_EQ(errors(), Texts{"zelRemovePage caught an undefined exception."});
}

TEST_F(CallFrameTest, OwnTextsReplaceThoseOfTheName)
{
    static constexpr CallFrame frame{.logName = "zelDfuAny",
                                     .catches = Catches::UnknownInstruction,
                                     .connectionText = "connection",
                                     .lockedText = "locked",
                                     .unknownText = "unknown",
                                     .unexpectedText = "unexpected"};
    runThrowing<PspConnectionException>(frame);
    runThrowing<PspPenIsLockedException>(frame);
    runThrowing<PspUnknownInstructionException>(frame);
    runThrowing<ZELException>(frame);
    EXPECT_EQ(errors(), (Texts{"connection", "locked", "unknown", "unexpected"}));
}

TEST_F(CallFrameTest, ConnectionTextTellsTheReasonWhereItAsksForIt)
{
    static constexpr CallFrame frame{.logName = "zelGetUserData",
                                     .connectionText =
                                         "[TarselPen::getUserData] failed, pen not connected: %s"};
    const auto code =
        frame.run(&m_pen, {}, []() -> std::uint32_t { throw PspConnectionException("100% lost %s"); });
    EXPECT_EQ(code, ZEL_ERR_COMMUNICATION);
    EXPECT_EQ(errors(), Texts{"[TarselPen::getUserData] failed, pen not connected: 100% lost %s"});
}

/** Sinks that fail, as they would without memory for the text. */
class FailingSinks
{
public:
    explicit FailingSinks(LogObserver observer) { setLogObserver(observer); }
    ~FailingSinks() { setLogObserver(nullptr); }
};

TEST_F(CallFrameTest, ExceptionWhileHandlingAnotherGives11)
{
    const FailingSinks sinks([](LogLevel, std::string_view text) {
        if (text.ends_with("failed"))
            throw std::bad_alloc();
    });
    EXPECT_EQ(runThrowing<PspConnectionException>(kFrame), ZEL_ERR_UNEXPECTED);
}

TEST_F(CallFrameTest, ExceptionOfTheEntryMarkGives11)
{
    const FailingSinks sinks([](LogLevel level, std::string_view) {
        if (level == LogLevel::Debug)
            throw std::bad_alloc();
    });
    EXPECT_EQ(kFrame.run(&m_pen, {}, [] { return ZEL_OK; }), ZEL_ERR_UNEXPECTED);
}

TEST_F(CallFrameTest, NothingLeavesEvenWhenNoTextCanBeLogged)
{
    const FailingSinks sinks([](LogLevel, std::string_view) { throw std::bad_alloc(); });
    EXPECT_EQ(runThrowing<ZELException>(kFrame), ZEL_ERR_UNEXPECTED);
}

} // namespace
