#include "sys/block_allocator.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using namespace zel;

namespace {

using Elements = std::vector<std::unique_ptr<std::size_t>, BlockAllocator<std::unique_ptr<std::size_t>>>;

} // namespace

TEST(BlockAllocator, ContainerThatGrowsBeyondTheHeapKeepsItsElements)
{
    Elements elements;
    for (std::size_t i = 0; i < 20000; ++i)
        elements.push_back(std::make_unique<std::size_t>(i));
    for (std::size_t i = 0; i < elements.size(); ++i)
        ASSERT_EQ(*elements[i], i);
}

TEST(BlockAllocator, ContainerThatShrinksIntoTheHeapKeepsItsElements)
{
    Elements elements;
    elements.reserve(20000);
    elements.push_back(std::make_unique<std::size_t>(7));
    elements.shrink_to_fit();
    EXPECT_EQ(elements.capacity(), 1u);
    EXPECT_EQ(*elements.front(), 7u);
}

TEST(BlockAllocator, MemoryOfOneMayBeReleasedByAnother)
{
    // The last size that the heap gives, and the first that it does not.
    for (const std::size_t count : {std::size_t{127}, std::size_t{128}}) {
        BlockAllocator<std::uint64_t> first;
        std::uint64_t *const memory = first.allocate(count);
        memory[count - 1] = 1;
        EXPECT_TRUE(first == BlockAllocator<std::uint64_t>());
        BlockAllocator<std::uint64_t>().deallocate(memory, count);
    }
}
