#include "announced_pen.h"
#include "contract_table.h"

#include "support/log_capture.h"

#include <gtest/gtest.h>

namespace {

using namespace contract;
using e2e::AnnouncedPen;
using zel::test::operator+;
namespace wire = zel::test::wire;

using WakeUpTime = e2e::OnBench<>;
using BluetoothPin = e2e::OnBench<>;
using PenTime = e2e::OnBench<>;
using BluetoothEnabled = e2e::OnBench<>;
using PenRevisions = e2e::OnBench<>;
using SettingsExports = e2e::OnBench<>;

const Bytes kWritten = wire::status(0);

struct WakeUpCase {
    std::uint32_t seconds;
    std::uint32_t code;
    const char *request; // "" for none
};

class WakeUpTimes : public e2e::OnBench<testing::TestWithParam<WakeUpCase>>
{
};

TEST_P(WakeUpTimes, IsNeverOrFromAMinuteToADay)
{
    AnnouncedPen pen(0x0502);
    pen.answer({.bytes = kWritten});
    EXPECT_EQ(zelSetWakeUpTime(pen.handle(), GetParam().seconds), GetParam().code);
    const Bytes request = bytesOf(GetParam().request);
    EXPECT_EQ(pen.requests(), request.empty() ? std::vector<Bytes>{} : std::vector<Bytes>{request});
}

INSTANTIATE_TEST_SUITE_P(Settings, WakeUpTimes,
                         testing::Values(WakeUpCase{0, 0, "'R1SP' 02  00 03 2207  01 04 00000000"},
                                         WakeUpCase{1, 8, ""}, WakeUpCase{59, 8, ""},
                                         WakeUpCase{60, 0, "'R1SP' 02  00 03 2207  01 04 0000003C"},
                                         WakeUpCase{86400, 0, "'R1SP' 02  00 03 2207  01 04 00015180"},
                                         WakeUpCase{86401, 8, ""},
                                         // Tested as signed numbers, these are negative.
                                         WakeUpCase{0x80000000, 8, ""}, WakeUpCase{0xFFFFFFFF, 8, ""}));

TEST_F(WakeUpTime, ThresholdIsTestedBeforeTheRange)
{
    AnnouncedPen pen(0x0501);
    EXPECT_EQ(zelSetWakeUpTime(pen.handle(), 59), ZEL_ERR_NOT_SUPPORTED);
    EXPECT_EQ(pen.requests(), std::vector<Bytes>{});
}

TEST_F(WakeUpTime, OutOfRangeLogsTheMarkAlone)
{
    AnnouncedPen pen(0x0502);
    LogCapture log;
    EXPECT_EQ(zelSetWakeUpTime(pen.handle(), 59), ZEL_ERR_VALUE_OUT_OF_RANGE);
    if (log.available()) {
        EXPECT_EQ(log.entries().size(), 1u);
        EXPECT_TRUE(log.contains(zel::LogLevel::Debug, "[zelSetWakeUpTime]"));
    }
}

struct PinCase {
    const char *pin;
    std::uint16_t software;
    const char *hardware; // element 1 of the pen's revisions
    std::uint32_t code;
};

class BluetoothPins : public e2e::OnBench<testing::TestWithParam<PinCase>>
{
};

TEST_P(BluetoothPins, IsFourDigitsOrMoreAsThePenAllows)
{
    const PinCase &given = GetParam();
    AnnouncedPen pen;
    pen.answer({.bytes = wire::result(wire::list({wire::string("soft"), wire::string(given.hardware)}))});
    pen.answer({.bytes = wire::result(wire::short16(given.software))});
    pen.answer({.bytes = kWritten});
    EXPECT_EQ(zelSetBluetoothPin(pen.handle(), given.pin), given.code);

    std::vector<Bytes> requests = {bytesOf("'R1GP' 01  00 03 0010"), bytesOf("'R1GP' 01  00 03 0001")};
    if (given.code == ZEL_OK)
        requests.push_back(bytesOf("'R1SP' 02  00 03 2203  01") + wire::string(given.pin));
    EXPECT_EQ(pen.requests(), requests);
}

INSTANTIATE_TEST_SUITE_P(AnyHardware, BluetoothPins,
                         testing::Values(PinCase{"", 0x0503, "HW", 8}, PinCase{"123", 0x0503, "HW", 8},
                                         PinCase{"1234", 0x0503, "HW", 0},
                                         PinCase{"0123456789012345", 0x0503, "HW", 0},
                                         PinCase{"01234567890123456", 0x0503, "HW", 8},
                                         PinCase{"12a4", 0x0503, "HW", 8}, PinCase{" 1234", 0x0503, "HW", 8},
                                         PinCase{"123/", 0x0503, "HW", 8}, PinCase{"123:", 0x0503, "HW", 8},
                                         PinCase{"123\xB4", 0x0503, "HW", 8},
                                         PinCase{"0123456789012345", 0x0501, "HW_3C", 0},
                                         PinCase{"0123456789012345", 0x04FF, "HW_3C", 0}));

// Software 0x0500 takes more than four digits only on hardware from 3D on, told by the piece behind the
// first "_" of its revision, compared as text.
INSTANTIATE_TEST_SUITE_P(
    Software0500, BluetoothPins,
    testing::Values(
        PinCase{"1234", 0x0500, "HW_3C", 0}, PinCase{"12345", 0x0500, "HW_3C", 8},
        PinCase{"123", 0x0500, "HW_3C", 8}, PinCase{"0123456789012345", 0x0500, "HW_3C", 8},
        PinCase{"0123456789012345", 0x0500, "HW_3D", 0}, PinCase{"01234567890123456", 0x0500, "HW_3D", 8},
        PinCase{"0123456789012345", 0x0500, "HW_3D_0", 0}, PinCase{"0123456789012345", 0x0500, "HW_3D0", 0},
        PinCase{"0123456789012345", 0x0500, "HW_4", 0}, PinCase{"0123456789012345", 0x0500, "HW_3d", 0},
        PinCase{"0123456789012345", 0x0500, "HW_\xC3", 0}, PinCase{"0123456789012345", 0x0500, "HW_3", 8},
        PinCase{"0123456789012345", 0x0500, "HW_30_4", 8}, PinCase{"0123456789012345", 0x0500, "HW_", 8},
        PinCase{"0123456789012345", 0x0500, "HW__3D", 8}, PinCase{"0123456789012345", 0x0500, "_3D", 0},
        PinCase{"1234", 0x0500, "HW", 11})); // no second piece

TEST_F(BluetoothPin, WithoutAHardwareRevisionIsUnexpected)
{
    AnnouncedPen pen;
    pen.answer({.bytes = wire::result(wire::list({wire::string("soft")}))});
    EXPECT_EQ(zelSetBluetoothPin(pen.handle(), "1234"), ZEL_ERR_UNEXPECTED);
}

TEST_F(BluetoothPin, NullIsRefusedAfterTheMark)
{
    AnnouncedPen pen;
    LogCapture log;
    EXPECT_EQ(zelSetBluetoothPin(pen.handle(), nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(pen.requests(), std::vector<Bytes>{});
    if (log.available()) {
        EXPECT_TRUE(log.contains("[zelSetBtPin]"));
    }
}

TEST_F(PenTime, OfAnotherTypeIsZeroAndStillSucceeds)
{
    AnnouncedPen pen;
    pen.answer({.bytes = wire::result(wire::int32(1700000000))});
    pen.answer({.bytes = wire::result(wire::long64(5))});
    std::uint64_t penTime = 1;
    std::uint64_t systemTime = 1;
    EXPECT_EQ(zelGetTime(pen.handle(), &penTime, &systemTime), ZEL_OK);
    EXPECT_EQ(penTime, 0u);
    EXPECT_EQ(systemTime, 5u);
}

TEST_F(PenTime, ZeroIsLoggedWithoutAPrefix)
{
    AnnouncedPen pen;
    pen.answer({.bytes = kWritten});
    LogCapture log;
    EXPECT_EQ(zelSetTime(pen.handle(), 0), ZEL_OK);
    if (log.available()) {
        EXPECT_TRUE(log.contains("[zelSetTime] 0 millis since 1970, GMT"));
    }
    EXPECT_EQ(pen.requests(), std::vector<Bytes>{bytesOf("'R1SP' 02  00 03 2021  01 05 0000000000000000")});
}

TEST_F(BluetoothEnabled, NullValueIsFalse)
{
    AnnouncedPen pen;
    pen.answer({.bytes = wire::result(wire::null())});
    std::uint8_t flag = 1;
    LogCapture log;
    EXPECT_EQ(zelGetBluetoothEnabled(pen.handle(), &flag), ZEL_OK);
    EXPECT_EQ(flag, 0);
    if (log.available()) {
        EXPECT_TRUE(log.contains(zel::LogLevel::Info, "Read 'BT enabled' from pen: Value: null"));
    }
}

TEST_F(BluetoothEnabled, AnyNonZeroFlagIsTrueOnTheWire)
{
    AnnouncedPen pen;
    for (const std::uint8_t flag : {std::uint8_t{0}, std::uint8_t{1}, std::uint8_t{255}}) {
        pen.answer({.bytes = kWritten});
        EXPECT_EQ(zelSetBluetoothEnabled(pen.handle(), flag), ZEL_OK);
    }
    EXPECT_EQ(pen.requests(), (std::vector<Bytes>{bytesOf("'R1SP' 02  00 03 202E  01 01 00"),
                                                  bytesOf("'R1SP' 02  00 03 202E  01 01 01"),
                                                  bytesOf("'R1SP' 02  00 03 202E  01 01 01")}));
}

std::string revisionsFrom(const Bytes &answer, std::uint32_t code)
{
    AnnouncedPen pen;
    pen.answer({.bytes = wire::result(answer)});
    TextOutput a, b, c, d;
    EXPECT_EQ(zelGetPenRevisions(pen.handle(), a.place(), b.place(), c.place(), d.place()), code);
    return outcome(code, a, b, c, d).outputs;
}

TEST_F(PenRevisions, AreElements0And1And3And5)
{
    const Bytes texts = wire::string("zero") + wire::string("one") + wire::string("two") +
                        wire::string("three") + wire::string("four") + wire::string("five") +
                        wire::short16(6);
    const std::string expected = "\"zero\" \"one\" \"three\" \"five\"";
    EXPECT_EQ(revisionsFrom(bytesOf("08 0007") + texts, ZEL_OK), expected);
    EXPECT_EQ(revisionsFrom(bytesOf("0A") + texts + bytesOf("0B"), ZEL_OK), expected);
}

TEST_F(PenRevisions, OfNumbersAreTheirTextForm)
{
    EXPECT_EQ(revisionsFrom(bytesOf("09 0007 03  0000 0001 0002 0003 0004 FFFF 0006"), ZEL_OK),
              "\"(short16) 0\" \"(short16) 1\" \"(short16) 3\" \"(short16) -1\"");
}

TEST_F(PenRevisions, WithoutASeventhElementLeaveTheOutputsAlone)
{
    EXPECT_EQ(revisionsFrom(bytesOf("08 0006  06 0001 00  06 0001 00  06 0001 00"
                                    "  06 0001 00  06 0001 00  06 0001 00"),
                            ZEL_ERR_UNEXPECTED),
              "- - - -");
}

TEST_F(SettingsExports, NullOutputIsRefusedWithoutARequest)
{
    AnnouncedPen pen;
    PenHandle *const handle = pen.handle();
    std::uint64_t number = 7;
    EXPECT_EQ(zelGetTime(handle, nullptr, &number), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(number, 0u); // preset first
    EXPECT_EQ(zelGetTime(handle, &number, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelGetBluetoothEnabled(handle, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelGetBluetoothDiscoverableAllowed(handle, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelGetBluetoothPin(handle, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelGetAutoPowerOff(handle, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelGetWakeUpTime(handle, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    for (int missing = 0; missing < 4; ++missing) {
        char *text = nullptr;
        char **outputs[] = {&text, &text, &text, &text};
        outputs[missing] = nullptr;
        EXPECT_EQ(zelGetPenRevisions(handle, outputs[0], outputs[1], outputs[2], outputs[3]),
                  ZEL_ERR_INVALID_ARGUMENT);
        EXPECT_EQ(text, nullptr);
    }
    EXPECT_EQ(pen.requests(), std::vector<Bytes>{});
}

} // namespace
