#include "pens/supported_pens.h"

#include "support/log_capture.h"

#include <gtest/gtest.h>

namespace {

struct Pen {
    const char *name;
    std::vector<const char *> announced;
    std::uint16_t software;
    bool supported;
    const char *text; // null: none
};

const Pen kPens[] = {
    {"Psp41", {"PSP41"}, 0x0600, true, "Pen supports PSP version 4.1. R42Pen"},
    {"Psp41BesideOthers", {"PSP40", "PSP41"}, 0x0000, true, "Pen supports PSP version 4.1. R42Pen"},
    {"Psp40Older", {"PSP40"}, 0x0501, true, "Pen supports PSP version 4.0. R41Pen"},
    {"Psp40NegativeSoftware", {"PSP40"}, 0x8000, true, "Pen supports PSP version 4.0. R41Pen"},
    {"Psp40R44", {"PSP40"}, 0x0502, true, "Pen supports PSP version 4.0. R44Pen"},
    {"Psp40R45", {"PSP40"}, 0x0503, true, "Pen supports PSP version 4.0. R45Pen"},
    {"Psp40Newer", {"PSP40"}, 0x0504, false, nullptr},
    {"Psp40MuchNewer", {"PSP40"}, 0x0600, false, nullptr},
    {"Psp40NewerWithDfu", {"PSP40", "DFUPSP10"}, 0x0600, false, nullptr},
    {"Dfu", {"DFUPSP10"}, 0x0100, true, "DFU Pen supports PSP version 1.0. R10DFUPen"},
    {"DfuOtherSoftware", {"DFUPSP10"}, 0x0101, false, nullptr},
    {"OldVersions", {"PSP10", "PSP11", "PSP20", "PSP21", "PSP30"}, 0x0502, false, nullptr},
    {"Psni40", {"PSNI40"}, 0x0502, false, nullptr},
    {"Nothing", {}, 0x0502, false, nullptr},
};

class SupportedPens : public testing::TestWithParam<Pen>
{
};

} // namespace

TEST_P(SupportedPens, DecisionAndText)
{
    zel::PenPspVersions versions;
    for (const char *token : GetParam().announced)
        versions.addFromText(token);
    const LogCapture log;
    EXPECT_EQ(zel::IsSupportedPen(versions, GetParam().software), GetParam().supported);
    std::vector<LogCapture::Entry> expected;
    if (GetParam().text != nullptr)
        expected.emplace_back(zel::LogLevel::Info, GetParam().text);
    EXPECT_EQ(log.entries(), expected);
}

INSTANTIATE_TEST_SUITE_P(Table, SupportedPens, testing::ValuesIn(kPens),
                         [](const auto &pen) { return std::string(pen.param.name); });
