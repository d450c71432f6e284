#include "api/copy_out.h"

#include <gtest/gtest.h>

namespace {

TEST(CopyOutString, HandsOutATerminatedCopy)
{
    char *text = nullptr;
    zel::CopyOutString("abc", &text);
    const std::unique_ptr<char[]> owned(text);
    EXPECT_STREQ(text, "abc");
}

TEST(CopyOutString, EmptyTextIsItsTerminatorAlone)
{
    char *text = nullptr;
    zel::CopyOutString("", &text);
    const std::unique_ptr<char[]> owned(text);
    EXPECT_EQ(text[0], '\0');
}

TEST(CopyOutStrings, EachTextReachesItsOutput)
{
    char *first = nullptr;
    char *second = nullptr;
    zel::CopyOutStrings({{"one", &first}, {"two", &second}});
    const std::unique_ptr<char[]> ownedFirst(first);
    const std::unique_ptr<char[]> ownedSecond(second);
    EXPECT_STREQ(first, "one");
    EXPECT_STREQ(second, "two");
}

} // namespace
