#include "protocol/frames/instruction.h"

#include "support/value_tree.h"

#include <gtest/gtest.h>

using namespace zel;
using namespace zel::test;

TEST(Instruction, HoldsItsCode)
{
    EXPECT_EQ(Instruction(0x52314750).getCode(), 0x52314750u);
    EXPECT_TRUE(Instruction(1).getArguments().empty());
}

TEST(Instruction, ArgumentsStandInAscendingIndexOrder)
{
    Instruction instruction(1);
    instruction.setArgumentOwned(2, Value::createByte(20));
    instruction.setArgumentOwned(0, Value::createByte(0));
    instruction.setArgumentOwned(1, Value::createByte(10));
    std::uint16_t expected = 0;
    for (const auto &[index, value] : instruction.getArguments()) {
        EXPECT_EQ(index, expected);
        EXPECT_EQ(value.getByte(), 10 * expected);
        ++expected;
    }
    EXPECT_EQ(expected, 3);
}

TEST(Instruction, StoresACopyOfABorrowedArgument)
{
    const auto value = Value::createString("text");
    Instruction instruction(1);
    instruction.setArgument(7, value);
    EXPECT_TRUE(sameTree(instruction.getArguments().at(7), value));
}

TEST(Instruction, TheFirstArgumentUnderAnIndexStays)
{
    Instruction instruction(1);
    instruction.setArgumentOwned(0, Value::createByte(1));
    instruction.setArgumentOwned(0, Value::createByte(2));
    instruction.setArgument(0, Value::createByte(3));
    EXPECT_EQ(instruction.getArguments().size(), 1u);
    EXPECT_EQ(instruction.getArguments().at(0).getByte(), 1);
}
