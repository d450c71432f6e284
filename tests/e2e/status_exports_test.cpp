#include "announced_pen.h"
#include "contract_table.h"

#include <array>
#include <gtest/gtest.h>

namespace {

using namespace contract;
using e2e::AnnouncedPen;
using zel::test::operator+;
namespace wire = zel::test::wire;

using UserData = e2e::OnBench<>;
using MemoryStatus = e2e::OnBench<>;
using BatteryStatus = e2e::OnBench<>;
using SecureDelete = e2e::OnBench<>;
using StatusExports = e2e::OnBench<>;

TEST_F(UserData, NullTextIsRefusedBeforeAnyRequest)
{
    AnnouncedPen pen;
    EXPECT_EQ(zelSetUserData(pen.handle(), nullptr, "b", "c"), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelSetUserData(pen.handle(), "a", nullptr, "c"), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelSetUserData(pen.handle(), "a", "b", nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(pen.requests(), std::vector<Bytes>{});
}

TEST_F(UserData, CardIsTextAAndSeventeenEmptyTexts)
{
    AnnouncedPen pen;
    for (int i = 0; i < 3; ++i)
        pen.answer({.bytes = wire::status(0)});
    EXPECT_EQ(zelSetUserData(pen.handle(), "Ada", "", ""), ZEL_OK);
    ASSERT_EQ(pen.requests().size(), 3u);
    Bytes card = bytesOf("'R1SP' 02  00 03 200A  01 08 0012  06 0004 'Ada' 00");
    for (int i = 0; i < 17; ++i)
        card = card + bytesOf("06 0001 00");
    EXPECT_EQ(pen.requests()[2], card);
}

// The longest text that can be sent: its count, which is of 16 bits, includes the NUL.
TEST_F(UserData, TextOf65534BytesIsSentWhole)
{
    AnnouncedPen pen;
    for (int i = 0; i < 3; ++i)
        pen.answer({.bytes = wire::status(0)});
    const std::string longest(65534, 'x');
    EXPECT_EQ(zelSetUserData(pen.handle(), "", longest.c_str(), ""), ZEL_OK);
    ASSERT_EQ(pen.requests().size(), 3u);
    EXPECT_EQ(pen.requests()[0], bytesOf("'R1SP' 02  00 03 200B  01 06 FFFF") +
                                     Bytes(longest.begin(), longest.end()) + bytesOf("00"));
}

TEST_F(UserData, EmptyCardLeavesTheOutputsNull)
{
    AnnouncedPen pen;
    pen.answer({.bytes = wire::result(wire::list({}))});
    pen.answer({.bytes = wire::result(wire::string("C"))});
    pen.answer({.bytes = wire::result(wire::string("B"))});
    pen.answer({.bytes = wire::result(wire::list({}))});
    TextOutput a, b, c;
    EXPECT_EQ(zelGetUserData(pen.handle(), a.place(), b.place(), c.place()), ZEL_ERR_UNEXPECTED);
    EXPECT_EQ(outcome(0, a, b, c).outputs, "null null null");
}

/** The list of which the memory's size is the eighth element. */
Bytes range(const Bytes &size)
{
    std::vector<Bytes> elements(7, wire::null());
    elements.push_back(size);
    return wire::list(elements);
}

std::string memory(const Bytes &free, const Bytes &range, std::uint32_t code)
{
    AnnouncedPen pen;
    pen.answer({.bytes = wire::result(free)});
    pen.answer({.bytes = wire::result(range)});
    NumberOutput<std::uint64_t> used, total;
    EXPECT_EQ(zelGetMemoryStatus(pen.handle(), used.place(), total.place()), code);
    return outcome(code, used, total).outputs;
}

TEST_F(MemoryStatus, MoreFreeThanThereIsWraps)
{
    EXPECT_EQ(memory(wire::int32(1001), range(wire::int32(1000)), ZEL_OK), "18446744073709551615 1000");
    EXPECT_EQ(memory(wire::long64(~0ull), range(wire::int32(0)), ZEL_OK), "1 0");
}

TEST_F(MemoryStatus, TotalIsCutTo32Bits)
{
    EXPECT_EQ(memory(wire::int32(0), range(wire::long64(0x1FFFFFFFF)), ZEL_OK), "4294967295 4294967295");
    EXPECT_EQ(memory(wire::null(), range(wire::null()), ZEL_OK), "0 0");
}

TEST_F(MemoryStatus, ListOfSevenElementsLeavesBothUnknown)
{
    EXPECT_EQ(memory(wire::int32(1), wire::list(std::vector<Bytes>(7, wire::null())), ZEL_ERR_UNEXPECTED),
              "18446744073709551615 18446744073709551615");
}

std::string battery(const Bytes &levels, const Bytes &range, std::uint32_t code)
{
    AnnouncedPen pen;
    pen.answer({.bytes = wire::result(levels)});
    pen.answer({.bytes = wire::result(range)});
    NumberOutput<std::uint16_t> v0, v1, v2, v3, v4;
    EXPECT_EQ(zelGetBatteryStatus(pen.handle(), v0.place(), v1.place(), v2.place(), v3.place(), v4.place()),
              code);
    return outcome(code, v0, v1, v2, v3, v4).outputs;
}

TEST_F(BatteryStatus, ItemsAreConvertedOneByOne)
{
    const Bytes pair = wire::list({wire::null(), wire::null()});
    EXPECT_EQ(
        battery(bytesOf("08 0005  01 01  02 50  03 1234  04 00015678  05 00000000FFFF9ABC"), pair, ZEL_OK),
        "1 80 4660 22136 39612");
    EXPECT_EQ(battery(bytesOf("08 0006  00  06 0002 '5' 00  0F  07 00000000  02 07  02 08"), pair, ZEL_OK),
              "0 0 0 0 7");
    EXPECT_EQ(battery(bytesOf("09 0005 02  01 02 03 04 05"), pair, ZEL_OK), "1 2 3 4 5");
}

TEST_F(BatteryStatus, FailureLeavesAllUnknown)
{
    const std::string unknown = "65535 65535 65535 65535 65535";
    const Bytes levels = bytesOf("09 0005 02  01 02 03 04 05");
    const Bytes pair = wire::list({wire::null(), wire::null()});
    EXPECT_EQ(battery(bytesOf("09 0004 02  01 02 03 04"), pair, ZEL_ERR_UNEXPECTED), unknown);
    EXPECT_EQ(battery(levels, wire::list({wire::null()}), ZEL_ERR_UNEXPECTED), unknown);
    EXPECT_EQ(battery(levels, wire::null(), ZEL_ERR_UNEXPECTED), unknown);
}

TEST_F(SecureDelete, OnAnOldPenTheByteStaysAsItWas)
{
    AnnouncedPen pen(0x0501);
    std::uint8_t flag = 0x77;
    EXPECT_EQ(zelGetSecureDeleteEnabled(pen.handle(), &flag), ZEL_ERR_NOT_SUPPORTED);
    EXPECT_EQ(flag, 0x77);
    EXPECT_EQ(pen.requests(), std::vector<Bytes>{});
}

TEST_F(StatusExports, NullOutputIsRefusedWithoutARequest)
{
    AnnouncedPen pen;
    PenHandle *const handle = pen.handle();
    EXPECT_EQ(zelGetSecureDeleteEnabled(handle, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    std::uint64_t number = 0;
    EXPECT_EQ(zelGetMemoryStatus(handle, nullptr, &number), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(number, ~0ull); // preset first
    EXPECT_EQ(zelGetMemoryStatus(handle, &number, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    for (std::size_t missing = 0; missing < 5; ++missing) {
        std::uint16_t level = 0;
        std::array<std::uint16_t *, 5> outputs;
        outputs.fill(&level);
        outputs[missing] = nullptr;
        EXPECT_EQ(zelGetBatteryStatus(handle, outputs[0], outputs[1], outputs[2], outputs[3], outputs[4]),
                  ZEL_ERR_INVALID_ARGUMENT);
        EXPECT_EQ(level, 0xFFFF);
    }
    for (std::size_t missing = 0; missing < 3; ++missing) {
        char untouched = '\0';
        char *text = &untouched;
        std::array<char **, 3> outputs;
        outputs.fill(&text);
        outputs[missing] = nullptr;
        EXPECT_EQ(zelGetUserData(handle, outputs[0], outputs[1], outputs[2]), ZEL_ERR_INVALID_ARGUMENT);
        EXPECT_EQ(text, nullptr);
    }
    EXPECT_EQ(pen.requests(), std::vector<Bytes>{});
}

} // namespace
