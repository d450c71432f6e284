#include "sys/secure_wipe.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <new>
#include <string_view>

namespace {

/** Memory to build an object in, and to look at when the object is gone. */
struct Room {
    alignas(std::max_align_t) std::uint8_t bytes[64] = {};

    /** Not single bytes: an address within an object may have any. */
    bool holds(std::string_view run) const
    {
        return std::string_view(reinterpret_cast<const char *>(bytes), sizeof bytes).find(run) != run.npos;
    }
};

// The objects live and end in functions of their own: a compiler that sees both the end of a life
// and the reads after it may take the bytes to be anything.

constexpr std::string_view kBytes = "ZZZZZZZZZZZZZZZZ";
constexpr char kText[] = "sssssss";

[[gnu::noinline]] void fillWipedBytes(Room &room, bool &inside)
{
    static_assert(sizeof(zel::WipedBytes<kBytes.size()>) <= sizeof room.bytes);
    auto *bytes = new (room.bytes) zel::WipedBytes<kBytes.size()>;
    bytes->fill('Z');
    zel::secureWipe(room.bytes + 16, 0); // an opaque call: by now the bytes have to be in memory
    inside = room.holds(kBytes);
    bytes->~WipedBytes();
}

[[gnu::noinline]] void fillWipedText(Room &room, bool &inside)
{
    static_assert(sizeof(zel::WipedText) <= sizeof room.bytes);
    auto *text = new (room.bytes) zel::WipedText(kText);
    EXPECT_EQ(text->get(), kText);
    inside = room.holds(kText);
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
    bool inside = false;
    fillWipedBytes(room, inside);
    EXPECT_TRUE(inside);
    EXPECT_FALSE(room.holds("ZZZZ"));
}

TEST(SecureWipe, WipedTextIsGoneAfterTheScope)
{
    Room room;
    bool inside = false;
    fillWipedText(room, inside);
    EXPECT_TRUE(inside);
    EXPECT_FALSE(room.holds("ssss"));
}
