#include "sys/secure_wipe.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <new>

namespace {

/** Memory to build an object in, and to look at when the object is gone. */
struct Room {
    alignas(std::max_align_t) std::uint8_t bytes[64] = {};

    std::ptrdiff_t count(std::uint8_t byte) const
    {
        return std::count(std::begin(bytes), std::end(bytes), byte);
    }
};

// The objects live and end in functions of their own: a compiler that sees both the end of a life
// and the reads after it may take the bytes to be anything.

[[gnu::noinline]] void fillWipedBytes(Room &room, std::ptrdiff_t &inside)
{
    static_assert(sizeof(zel::WipedBytes<16>) <= sizeof room.bytes);
    auto *bytes = new (room.bytes) zel::WipedBytes<16>;
    bytes->fill(0x5A);
    zel::secureWipe(room.bytes + 16, 0); // an opaque call: by now the bytes have to be in memory
    inside = room.count(0x5A);
    bytes->~WipedBytes();
}

[[gnu::noinline]] void fillWipedText(Room &room, std::ptrdiff_t &inside)
{
    static_assert(sizeof(zel::WipedText) <= sizeof room.bytes);
    auto *text = new (room.bytes) zel::WipedText("sssssss");
    EXPECT_EQ(text->get(), "sssssss");
    inside = room.count('s');
    text->~WipedText();
}

} // namespace

TEST(SecureWipe, ZeroesWhatItIsGivenAndNoMore)
{
    std::uint8_t bytes[] = {1, 2, 3, 4, 5};
    zel::secureWipe(bytes + 1, 3);
    EXPECT_EQ(bytes[0], 1);
    EXPECT_TRUE(std::all_of(bytes + 1, bytes + 4, [](std::uint8_t byte) { return byte == 0; }));
    EXPECT_EQ(bytes[4], 5);
}

TEST(SecureWipe, WipedBytesStartAtZero)
{
    const zel::WipedBytes<16> bytes;
    EXPECT_TRUE(std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0; }));
}

TEST(SecureWipe, WipedBytesAreGoneAfterTheScope)
{
    Room room;
    std::ptrdiff_t inside = 0;
    fillWipedBytes(room, inside);
    EXPECT_EQ(inside, 16);
    EXPECT_EQ(room.count(0x5A), 0);
}

TEST(SecureWipe, WipedTextIsGoneAfterTheScope)
{
    Room room;
    std::ptrdiff_t inside = 0;
    fillWipedText(room, inside);
    EXPECT_EQ(inside, 7);
    EXPECT_EQ(room.count('s'), 0);
}
