#include "pens/pen_id.h"

#include "sys/exceptions.h"

#include <gtest/gtest.h>

using zel::PenId;

namespace {

std::string rejectionOf(std::uint64_t number)
{
    try {
        const PenId id(number);
    } catch (const zel::ZELException &e) {
        return e.what();
    }
    return "accepted";
}

} // namespace

struct WorkedSerial {
    std::uint64_t id;
    const char *serial;
};

class PenIdSerialText : public testing::TestWithParam<WorkedSerial>
{
};

TEST_P(PenIdSerialText, EqualsWorkedValue)
{
    const PenId id(GetParam().id);
    EXPECT_EQ(id.serialText(), GetParam().serial);
    EXPECT_EQ(id.number(), GetParam().id);
}

INSTANTIATE_TEST_SUITE_P(WorkedValues, PenIdSerialText,
                         testing::Values(WorkedSerial{0x0, "AAA-AAA-AAA-AA"},           //
                                         WorkedSerial{0x1, "AAA-AAA-AAB-AB"},           //
                                         WorkedSerial{0x100000001, "AAB-AAA-AAB-D7"},   //
                                         WorkedSerial{0x12300ABCDEF, "AKZ-AQ7-APS-AC"}, //
                                         // the largest id whose halves are in range
                                         WorkedSerial{0x69772B73A83F, "999-999-999-AF"},
                                         // Hosts have always seen a half whose top bit is set
                                         // widened with ones: FFFFFFFF80000000 is encoded here.
                                         WorkedSerial{0x80000000, "AAA-EXU-ZCJ-B8"},
                                         WorkedSerial{0xFFFFFFFFFFFFFFFF, "INVALID-PEN-ID"}));

TEST(PenId, WithoutNumberIsInvalid)
{
    EXPECT_EQ(PenId().number(), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(PenId().serialText(), "INVALID-PEN-ID");
}

TEST(PenId, GroupNumberAboveRangeIsRejectedWithTheNumberAsText)
{
    EXPECT_EQ(rejectionOf(0x0000697800000000), "0x0000697800000000"); // 27000
    EXPECT_EQ(rejectionOf(0x0000697700000000), "accepted");           // 26999
}

TEST(PenId, SerialNumberAboveRangeIsRejectedWithTheNumberAsText)
{
    EXPECT_EQ(rejectionOf(0x000000002B73A840), "0x000000002b73a840"); // 729000000
    EXPECT_EQ(rejectionOf(0x000000002B73A83F), "accepted");           // 728999999
}

// The range tests are signed: hosts meet pens whose halves have their top bit set.
TEST(PenId, HalfWithTopBitSetIsAccepted)
{
    EXPECT_EQ(rejectionOf(0x0000000080000000), "accepted");
    EXPECT_EQ(rejectionOf(0x8000000000000000), "accepted");
}

TEST(PenId, RawIdShowsItselfAsSixteenHexadecimalDigits)
{
    PenId id(0x12300ABCDEF);
    id.setRaw(true);
    EXPECT_EQ(id.serialText(), "0000012300abcdef");
}

TEST(PenId, RawInvalidIdIsStillInvalid)
{
    PenId id;
    id.setRaw(true);
    EXPECT_EQ(id.serialText(), "INVALID-PEN-ID");
}
