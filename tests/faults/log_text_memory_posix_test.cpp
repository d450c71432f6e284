#include "allocation_watch.h"

#include "sys/log.h"

#include <gtest/gtest.h>

#include <string>

namespace faults {

// Nobody keeps log texts: they take no memory, however long they are.
TEST(LogTextMemory, ComposingATextAllocatesNothing)
{
    const std::string piece(100000, 'x');
    const MemoryMeter meter;
    zel::LogError("answer of ", piece.size(), " characters: ", piece);
    EXPECT_EQ(meter.peak(), 0u);
    const std::string copy(piece);
    EXPECT_GT(meter.peak(), piece.size()) << "the meter measures";
}

} // namespace faults
