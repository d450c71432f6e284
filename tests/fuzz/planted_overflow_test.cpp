// Fuzzing finds nothing that the sanitizer does not see: here it is shown errors that it has to report, in
// memory of the kind that holds what comes from the network.

#include "sys/byte_block.h"

#include <gtest/gtest.h>

namespace {

constexpr std::size_t kSizes[] = {24, 2048, 65536};

void writeTo(std::uint8_t *address)
{
    *static_cast<volatile std::uint8_t *>(address) = 1;
}

TEST(PlantedOverflow, AByteBehindABlockIsReported)
{
    for (const std::size_t size : kSizes) {
        const zel::ByteBlock block = zel::allocateBlock(size);
        EXPECT_DEATH(writeTo(block.get() + size), "heap-buffer-overflow") << size;
    }
}

TEST(PlantedOverflow, AByteBehindAResizedBlockIsReported)
{
    for (const std::size_t size : kSizes) {
        zel::ByteBlock block = zel::allocateBlock(2 * size);
        zel::resizeBlock(block, size);
        EXPECT_DEATH(writeTo(block.get() + size), "heap-buffer-overflow") << size;
    }
}

TEST(PlantedOverflow, AByteOfABlockThatWentIsReported)
{
    for (const std::size_t size : kSizes) {
        zel::ByteBlock block = zel::allocateBlock(size);
        std::uint8_t *const bytes = block.get();
        block.reset();
        EXPECT_DEATH(writeTo(bytes), "heap-use-after-free") << size;
    }
}

} // namespace
