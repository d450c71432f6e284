#include "sys/text_window.h"

#include "sys/exceptions.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

using namespace zel;

TEST(TextWindow, PiecesStandOneBehindTheOther)
{
    std::string text = "before ";
    TextWindow window(&text);
    window << "text " << 'c' << ' ' << -7 << ' ' << std::numeric_limits<std::int64_t>::min() << ' '
           << std::numeric_limits<std::uint64_t>::max() << ' ' << std::uint8_t{200};
    window.flush();
    EXPECT_EQ(text, "before text c -7 -9223372036854775808 18446744073709551615 200");
}

TEST(TextWindow, PiecesOfEveryLengthAreWholeWhereverTheWindowEnds)
{
    for (std::size_t length = 0; length < 600; ++length) {
        const std::string piece(length, 'x');
        std::string text;
        TextWindow window(&text);
        window << piece << '|' << 1234567890 << piece;
        window.repeat('y', length);
        window << "end";
        window.flush();
        ASSERT_EQ(text, piece + "|1234567890" + piece + std::string(length, 'y') + "end");
    }
}

TEST(TextWindow, LiteralsAreWholeWhereverTheWindowEnds)
{
    for (std::size_t length = 0; length < 600; ++length) {
        std::string text;
        TextWindow window(&text);
        window.repeat('x', length);
        window << "a literal"
               << ""
               << "and another";
        window.flush();
        ASSERT_EQ(text, std::string(length, 'x') + "a literaland another");
    }
}

TEST(TextWindow, KeptTextMayBecomeAsLongAsAllowedAndNoLonger)
{
    std::string text;
    TextWindow exact(&text, 1000);
    exact.repeat('x', 1000);
    exact.flush();
    EXPECT_EQ(text.size(), 1000u);

    text.clear();
    TextWindow longer(&text, 999);
    EXPECT_THROW(
        {
            longer.repeat('x', 1000);
            longer.flush();
        },
        ZELException);
    EXPECT_LE(text.size(), 999u);
}

TEST(TextWindow, TextThatNobodyKeepsIsNeverTooLong)
{
    TextWindow window(nullptr, 10);
    window.repeat('x', 100000);
    EXPECT_NO_THROW(window.flush());
}

TEST(TextWindow, TextsOfATableAreWholeWhereverTheWindowEnds)
{
    constexpr char kEntry[16] = "entry";
    for (std::size_t length = 0; length < 300; ++length) {
        const std::string piece(length, 'x');
        std::string text;
        TextWindow window(&text);
        window << piece;
        window.append(kEntry, 5) << '|';
        window.flush();
        ASSERT_EQ(text, piece + "entry|");
    }
}
