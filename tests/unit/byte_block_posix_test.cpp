// Hosts fetch all of a pen's pages at once: the memory of a page's strokes has to go back to the
// system as soon as they stand in the host's block, or both would be in memory to the end.

#include "sys/byte_block.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstring>
#include <fstream>
#include <vector>

namespace {

std::size_t residentBytes()
{
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

void expectMemoryToGoWithTheBlocks(std::size_t count, std::size_t size)
{
#ifdef ZEL_SANITIZED
    GTEST_SKIP() << "sanitizers keep memory of their own";
#endif
    std::vector<zel::ByteBlock> blocks;
    for (std::size_t i = 0; i < count; ++i) {
        blocks.push_back(zel::allocateBlock(size));
        std::memset(blocks.back().get(), 1, size);
    }
    const std::size_t whole = residentBytes();
    for (std::size_t i = 0; i < count / 2; ++i)
        blocks[i].reset();
    EXPECT_LT(residentBytes(), whole - count * size / 2 * 9 / 10);
}

TEST(ByteBlock, ThousandsOfBlocksReturnTheirMemoryFromTheFirstOn)
{
    expectMemoryToGoWithTheBlocks(4000, 8192);
}

TEST(ByteBlock, LargeBlocksReturnTheirMemoryFromTheFirstOn)
{
    expectMemoryToGoWithTheBlocks(16, 4 << 20);
    expectMemoryToGoWithTheBlocks(16, 4 << 20); // also when blocks of that size have gone before
}

} // namespace
