#include "sys/log.h"

#include "support/log_capture.h"

#include <gtest/gtest.h>

TEST(FormatLogText, TextLongerThanOneGrowthStepIsWhole)
{
    const std::string payload(5000, 'x');
    EXPECT_EQ(zel::FormatLogText("<%s>", payload.c_str()), "<" + payload + ">");
}

TEST(FormatLogText, TextAroundAGrowthStepIsWhole)
{
    for (const std::size_t length : {1023u, 1024u, 1025u, 2047u, 2048u, 2049u}) {
        const std::string text(length, 'x');
        EXPECT_EQ(zel::FormatLogText("%s", text.c_str()), text) << length;
    }
}

TEST(LogText, ObserverGetsATextOfPiecesWhole)
{
    const LogCapture log;
    const std::string payload(5000, 'x');
    zel::LogError("status: ", -7, ", '", payload, "'");
    zel::LogInfo("Pen connected ", std::uint16_t{3715});
    EXPECT_EQ(log.entries(),
              (std::vector<LogCapture::Entry>{{zel::LogLevel::Error, "status: -7, '" + payload + "'"},
                                              {zel::LogLevel::Info, "Pen connected 3715"}}));
}
