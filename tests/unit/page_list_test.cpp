#include "pages/page_list.h"

#include "support/value_tree.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

using namespace zel;
using namespace zel::test;

namespace {

Value pageItem(const char *address, std::uint32_t size)
{
    return valueArray(Value::createLong(PageAddress(address).raw()), Value::createInt(size));
}

} // namespace

TEST(PageList, KeepsTheAnswersOrder)
{
    const PageList list(valueArray(pageItem("1.2.3.5", 10), pageItem("1.2.3.4", 20)));
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].getSize(), 10u);
    EXPECT_EQ(list[1].getSize(), 20u);
    EXPECT_FALSE(list.empty());
}

TEST(PageList, NullAnswerIsAnEmptyList)
{
    EXPECT_TRUE(PageList(Value::createNull()).empty());
    EXPECT_TRUE(PageList(valueArray()).empty());
}

TEST(PageList, AnswersThatAreNoListOfPagesThrow)
{
    EXPECT_THROW(PageList(Value::createInt(0)), ZELException);
    EXPECT_THROW(PageList(valueArray(Value::createInt(0))), ZELException);
    EXPECT_THROW(PageList{valueArray(Value())}, ZELException);
}

TEST(PageList, ItemOfAnotherLengthIsAPageOfMissingFields)
{
    const PageList list(valueArray(valueArray(Value::createLong(1))));
    EXPECT_EQ(list[0].getAddress(), PageAddress());
    EXPECT_EQ(list[0].getSize(), 0u);
}

TEST(PageList, TextEndsEveryAddressWithASemicolon)
{
    PageList list;
    EXPECT_EQ(list.toString(), "");
    list.append(PenPage(PageAddress("1.2.3.4"), 1));
    list.append(PenPage(PageAddress("1.2.3.5"), 1));
    EXPECT_EQ(list.toString(), "1.2.3.4;1.2.3.5;");
}

TEST(PageList, SortingAscendsByFieldNumbersWildcardsFirst)
{
    PageList list;
    for (const char *address : {"1.0.0.0.0", "10.0.0.0", "2.0.0.0", "2.*.*.*", "*.*.*.*", "0.0.0.0"})
        list.append(PenPage(PageAddress(address), 1));
    list.sort();
    EXPECT_EQ(list.toString(), "*.*.*.*;0.0.0.0;2.*.*.*;2.0.0.0;10.0.0.0;1.0.0.0.0;");
}

TEST(PageList, SortingKeepsTheOrderOfEqualAddresses)
{
    PageList list;
    for (std::uint32_t size = 0; size < 100; ++size)
        list.append(PenPage(PageAddress(size % 2 == 0 ? "1.2.3.4" : "1.2.3.3"), size));
    list.sort();
    for (std::uint32_t i = 0; i < 100; ++i)
        EXPECT_EQ(list[i].getSize(), i < 50 ? 2 * i + 1 : 2 * (i - 50));
}
