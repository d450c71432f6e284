#include "sys/virtual_memory.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

constexpr std::size_t kSmall = 64 * 1024;
constexpr std::size_t kLarge = 3 * 1024 * 1024;

TEST(MappedPages, AreZeroAndCanBeWrittenToTheirEnd)
{
    std::uint8_t *const pages = zel::mapPages(kSmall);
    EXPECT_TRUE(std::all_of(pages, pages + kSmall, [](std::uint8_t byte) { return byte == 0; }));
    std::fill(pages, pages + kSmall, std::uint8_t{0xA5});
    zel::unmapPages(pages, kSmall);
}

TEST(MappedPages, KeepTheirContentsWhenTheyGrow)
{
    std::uint8_t *pages = zel::mapPages(kSmall);
    std::fill(pages, pages + kSmall, std::uint8_t{0xA5});
    pages = zel::remapPages(pages, kSmall, kLarge);
    EXPECT_TRUE(std::all_of(pages, pages + kSmall, [](std::uint8_t byte) { return byte == 0xA5; }));
    std::fill(pages + kSmall, pages + kLarge, std::uint8_t{0x5A});
    zel::unmapPages(pages, kLarge);
}

TEST(MappedPages, KeepWhatFitsWhenTheyShrink)
{
    std::uint8_t *pages = zel::mapPages(kLarge);
    std::fill(pages, pages + kLarge, std::uint8_t{0xA5});
    pages = zel::remapPages(pages, kLarge, kSmall);
    EXPECT_TRUE(std::all_of(pages, pages + kSmall, [](std::uint8_t byte) { return byte == 0xA5; }));
    zel::unmapPages(pages, kSmall);
}

TEST(MappedPages, TheHintForLargePagesChangesNoContents)
{
    std::uint8_t *const pages = zel::mapPages(kLarge);
    std::fill(pages, pages + kLarge, std::uint8_t{0xA5});
    zel::preferLargePages(pages + 3, kLarge - 7);
    zel::preferLargePages(pages + 3, 1);
    EXPECT_TRUE(std::all_of(pages, pages + kLarge, [](std::uint8_t byte) { return byte == 0xA5; }));
    zel::unmapPages(pages, kLarge);
}

} // namespace
