#include "protocol/frames/request_pages.h"

#include <gtest/gtest.h>

using namespace zel;

namespace {

constexpr std::uint64_t kCount = 5000;

/** Adds so many addresses, each so far from the last, and looks for all of them again. */
void expectEachFound(std::uint64_t distance)
{
    PageIndex index;
    std::vector<ProtocolPage> pages;
    for (std::uint64_t i = 0; i < kCount; ++i) {
        const PageAddress address(i * distance);
        ASSERT_EQ(index.findOrAdd(address, pages), pages.size());
        pages.push_back({address, {}, nullptr});
    }
    for (std::uint64_t i = 0; i < kCount; ++i)
        ASSERT_EQ(index.findOrAdd(PageAddress(i * distance), pages), i);
}

} // namespace

TEST(PageIndex, FindsEveryPageAmongThousandsWhereverTheirAddressesDiffer)
{
    expectEachFound(1);
    expectEachFound(std::uint64_t{1} << 24);
    expectEachFound(std::uint64_t{1} << 51);
    expectEachFound(0x123456789ABCDEF1);
}
