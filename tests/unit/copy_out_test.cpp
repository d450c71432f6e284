#include "api/copy_out.h"

#include "sys/byte_block.h"

#include <gtest/gtest.h>

namespace {

/** Releases a text as the zelFree... functions do. */
class Owned
{
public:
    explicit Owned(char *text) : m_block(reinterpret_cast<std::uint8_t *>(text)) {}

private:
    zel::ByteBlock m_block;
};

TEST(CopyOutString, HandsOutATerminatedCopy)
{
    char *text = nullptr;
    zel::CopyOutString("abc", &text);
    const Owned owned(text);
    EXPECT_STREQ(text, "abc");
}

TEST(CopyOutString, EmptyTextIsItsTerminatorAlone)
{
    char *text = nullptr;
    zel::CopyOutString("", &text);
    const Owned owned(text);
    EXPECT_EQ(text[0], '\0');
}

TEST(CopyOutStrings, EachTextReachesItsOutput)
{
    char *first = nullptr;
    char *second = nullptr;
    zel::CopyOutStrings({{"one", &first}, {"two", &second}});
    const Owned ownedFirst(first);
    const Owned ownedSecond(second);
    EXPECT_STREQ(first, "one");
    EXPECT_STREQ(second, "two");
}

} // namespace
