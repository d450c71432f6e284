#include <gtest/gtest.h>

#include "ui/progress.h"
#include "ui/table.h"
#include "ui/text.h"

namespace penctl {
namespace {

Progress halfWay()
{
    return {.bytes = 1'310'720,
            .totalBytes = 2'621'440,
            .units = 3,
            .totalUnits = 12,
            .elapsed = std::chrono::milliseconds(500)};
}

ProgressLook plainLook(std::size_t columns)
{
    ProgressLook look;
    look.label = "AKZ-AQ7-APS-AC";
    look.unitName = "pages";
    look.columns = columns;
    return look;
}

} // namespace

TEST(Printable, OrdinaryTextStaysAsItIs)
{
    EXPECT_EQ(printable("Pen 4.1 (blue)"), "Pen 4.1 (blue)");
    EXPECT_EQ(printable("Bl\xc3\xa5 \xe2\x82\xac \xf0\x9f\x96\x8a"),
              "Bl\xc3\xa5 \xe2\x82\xac \xf0\x9f\x96\x8a");
}

TEST(Printable, ControlCharactersAreSpelledOut)
{
    EXPECT_EQ(printable("a\x1b[31m\n\x7f"), "a\\x1b[31m\\x0a\\x7f");
    EXPECT_EQ(printable(std::string_view("\0", 1)), "\\x00");
    EXPECT_EQ(printable("\xc2\x9b"), "\\xc2\\x9b"); // a C1 control in UTF-8
}

TEST(Printable, DirectionMarksAreSpelledOut)
{
    EXPECT_EQ(printable("\xe2\x80\xae"), "\\xe2\\x80\\xae");
}

TEST(Printable, BytesThatAreNoUtf8AreSpelledOut)
{
    EXPECT_EQ(printable("\xff"), "\\xff");
    EXPECT_EQ(printable("\xc3"), "\\xc3");                            // cut short
    EXPECT_EQ(printable("\xc3("), "\\xc3(");                          // no continuation
    EXPECT_EQ(printable("\xc0\xaf"), "\\xc0\\xaf");                   // longer than needed
    EXPECT_EQ(printable("\xe0\x80\xaf"), "\\xe0\\x80\\xaf");          // longer than needed
    EXPECT_EQ(printable("\xed\xa0\x80"), "\\xed\\xa0\\x80");          // half of a surrogate pair
    EXPECT_EQ(printable("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80"); // beyond the last character
}

TEST(DisplayWidth, CountsCharactersNotBytes)
{
    EXPECT_EQ(displayWidth(""), 0u);
    EXPECT_EQ(displayWidth("Bl\xc3\xa5"), 3u);
}

TEST(Units, NumbersAreGrouped)
{
    EXPECT_EQ(grouped(0), "0");
    EXPECT_EQ(grouped(999), "999");
    EXPECT_EQ(grouped(1000), "1,000");
    EXPECT_EQ(grouped(1234567), "1,234,567");
    EXPECT_EQ(grouped(UINT64_MAX), "18,446,744,073,709,551,615");
}

TEST(Units, BytesAreReadable)
{
    EXPECT_EQ(humanBytes(0), "0 B");
    EXPECT_EQ(humanBytes(1023), "1023 B");
    EXPECT_EQ(humanBytes(1024), "1.0 KiB");
    EXPECT_EQ(humanBytes(1536), "1.5 KiB");
    EXPECT_EQ(humanBytes(1024 * 1024 - 1), "1.0 MiB");
    EXPECT_EQ(humanBytes(UINT64_MAX), "16.0 EiB");
}

TEST(Units, OneIsSingular)
{
    EXPECT_EQ(counted(1, "page", "pages"), "1 page");
    EXPECT_EQ(counted(0, "page", "pages"), "0 pages");
    EXPECT_EQ(counted(1200, "page", "pages"), "1,200 pages");
}

TEST(Units, TimesAreUtc)
{
    EXPECT_EQ(utcText(0), "1970-01-01 00:00:00.000 UTC");
    EXPECT_EQ(utcText(951'782'399'999), "2000-02-28 23:59:59.999 UTC");
    EXPECT_EQ(utcText(951'782'400'000), "2000-02-29 00:00:00.000 UTC");
    EXPECT_EQ(utcText(UINT64_MAX), "18446744073709551615 ms");
    EXPECT_EQ(utcSecondsText(951'782'400'999), "2000-02-29 00:00:00Z");
}

TEST(Table, ColumnsAreAsWideAsTheirWidestText)
{
    Table table({{"NAME"}, {"BYTES", Align::Right}, {"NOTE"}});
    table.addRow({"a", "1,000,000", "x"});
    table.addRow({"Bl\xc3\xa5tt", "7", ""});
    EXPECT_EQ(table.text(false), "NAME       BYTES  NOTE\n"
                                 "a      1,000,000  x\n"
                                 "Bl\xc3\xa5tt          7\n");
}

TEST(Table, TitlesAreBoldIfAskedFor)
{
    Table table({{"A"}});
    EXPECT_EQ(table.text(true), "\x1b[1mA\x1b[0m\n");
}

TEST(ProgressLine, FillsTheColumnsButTheLast)
{
    const std::string line = progressLine(halfWay(), plainLook(80));
    EXPECT_EQ(line, "AKZ-AQ7-APS-AC [########--------]   50%  1.2 MiB/2.5 MiB  3/12 pages  2.5 MiB/s");
    EXPECT_LT(line.size(), 80u);
}

TEST(ProgressLine, WideTerminalsGetABarOfFortyColumns)
{
    const std::string line = progressLine(halfWay(), plainLook(200));
    EXPECT_NE(line.find("[####################--------------------]"), std::string::npos);
}

TEST(ProgressLine, NarrowTerminalsLoseTheBarThenTheLabelThenTheEnd)
{
    EXPECT_EQ(progressLine(halfWay(), plainLook(66)),
              "AKZ-AQ7-APS-AC   50%  1.2 MiB/2.5 MiB  3/12 pages  2.5 MiB/s");
    EXPECT_EQ(progressLine(halfWay(), plainLook(50)), " 50%  1.2 MiB/2.5 MiB  3/12 pages  2.5 MiB/s");
    EXPECT_EQ(progressLine(halfWay(), plainLook(11)), " 50%  1.2 ");
    EXPECT_EQ(progressLine(halfWay(), plainLook(0)), "");
}

TEST(ProgressLine, UnicodeBarHasNoFrame)
{
    ProgressLook look = plainLook(76);
    look.unicode = true;
    EXPECT_EQ(progressLine(halfWay(), look),
              "AKZ-AQ7-APS-AC ███████░░░░░░░   50%  1.2 MiB/2.5 MiB  3/12 pages  2.5 MiB/s");
}

TEST(ProgressLine, NothingToTransferIsComplete)
{
    const Progress none = {};
    EXPECT_EQ(progressFigures(none, "pages"), "100%  0 B/0 B  0 pages  -- /s");
}

TEST(ProgressLine, MoreThanAnnouncedStaysAtAHundred)
{
    Progress progress = halfWay();
    progress.bytes = 9'999'999;
    EXPECT_EQ(progressFigures(progress, "pages").substr(0, 4), "100%");
}

} // namespace penctl
