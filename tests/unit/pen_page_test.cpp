#include "pages/pen_page.h"

#include "support/value_tree.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

using namespace zel;
using namespace zel::test;

TEST(PenPage, IsMadeOfAListOfAddressAndSize)
{
    const PenPage page(valueArray(Value::createLong(0x0000010002003004), Value::createInt(200)));
    EXPECT_EQ(page.getAddress(), PageAddress("1.2.3.4"));
    EXPECT_EQ(page.address(), PageAddress("1.2.3.4"));
    EXPECT_EQ(page.getSize(), 200u);
}

TEST(PenPage, AnyKindOfArrayIsAList)
{
    const auto list = Value::createTerminatedArray(elements(Value::createLong(1), Value::createInt(2)));
    EXPECT_EQ(PenPage(list).getSize(), 2u);
}

TEST(PenPage, ListsOfOtherLengthsLeaveTheDefault)
{
    const ValueList lists =
        elements(valueArray(), valueArray(Value::createLong(1)),
                 valueArray(Value::createLong(1), Value::createInt(2), Value::createInt(3)));
    for (const Value &list : lists) {
        const PenPage page(list);
        EXPECT_EQ(page.getAddress().raw(), 0xFFFFFFFFFFFFFFFFu);
        EXPECT_EQ(page.getSize(), 0u);
    }
}

TEST(PenPage, NumbersOfAnyWidthAreTaken)
{
    const PenPage narrow(valueArray(Value::createInt(0x02003004), Value::createShort(200)));
    EXPECT_EQ(narrow.address().raw(), 0x02003004u);
    EXPECT_EQ(narrow.getSize(), 200u);
    const PenPage wide(valueArray(Value::createLong(0x0000010002003004), Value::createLong(0x1000000C8)));
    EXPECT_EQ(wide.address(), PageAddress("1.2.3.4"));
    EXPECT_EQ(wide.getSize(), 200u); // cut to its 32 bits
    const PenPage least(valueArray(Value::createByte(4), Value::createBool(true)));
    EXPECT_EQ(least.address().raw(), 4u);
    EXPECT_EQ(least.getSize(), 1u);
}

TEST(PenPage, OtherValuesAndItemsThrow)
{
    EXPECT_THROW(PenPage(Value::createLong(1)), ZELException);
    EXPECT_THROW(PenPage(valueArray(Value::createLong(1), Value::createString("2"))), ZELException);
    EXPECT_THROW(PenPage(valueArray(Value::createNull(), Value::createInt(2))), ZELException);
    EXPECT_THROW(PenPage(valueArray(valueArray(), Value::createInt(2))), ZELException);
    EXPECT_THROW(PenPage(valueArray(Value(), Value::createInt(2))), ZELException);
    EXPECT_THROW(PenPage(valueArray(Value::createLong(1), Value())), ZELException);
}

TEST(PenPage, AssignmentTakesAddressAndSize)
{
    PenPage page;
    page = PenPage(PageAddress("1.2.3.4"), 7);
    EXPECT_EQ(page.getAddress(), PageAddress("1.2.3.4"));
    EXPECT_EQ(page.getSize(), 7u);
}

TEST(PenPage, IsOrderedByAddressAlone)
{
    EXPECT_TRUE(PenPage(PageAddress("1.2.3.4"), 9) < PenPage(PageAddress("1.2.3.5"), 1));
    EXPECT_FALSE(PenPage(PageAddress("1.2.3.4"), 1) < PenPage(PageAddress("1.2.3.4"), 2));
}
