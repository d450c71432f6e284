#include "protocol/bytes/binary_buffer.h"

#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <array>

using zel::BinaryBuffer;

namespace {

constexpr std::array<std::uint8_t, 4> kBytes = {1, 2, 3, 4};

std::vector<std::uint8_t> withClosingZero(BinaryBuffer &buffer)
{
    return {buffer.data(), buffer.data() + buffer.size() + 1};
}

} // namespace

TEST(BinaryBuffer, CopiesTheBytesAndClosesThemWithAZero)
{
    BinaryBuffer buffer(kBytes.data(), 4);
    EXPECT_EQ(buffer.size(), 4u);
    EXPECT_NE(buffer.data(), kBytes.data());
    EXPECT_EQ(withClosingZero(buffer), (std::vector<std::uint8_t>{1, 2, 3, 4, 0}));
}

TEST(BinaryBuffer, CopyingIsLogged)
{
    LogCapture log;
    BinaryBuffer buffer(kBytes.data(), 4);
    EXPECT_TRUE(log.contains(zel::LogLevel::Debug, "BinaryBuffer ctor - COPYING data"));
}

TEST(BinaryBuffer, ZeroBytesLeaveASingleZeroByte)
{
    BinaryBuffer buffer(nullptr, 0);
    EXPECT_EQ(buffer.size(), 0u);
    ASSERT_NE(buffer.data(), nullptr);
    EXPECT_EQ(*buffer.data(), 0);
}

TEST(BinaryBuffer, PiecesAreMergedBehindTheBytesInOrder)
{
    BinaryBuffer first(kBytes.data() + 1, 1);
    BinaryBuffer second(kBytes.data() + 2, 2);
    BinaryBuffer buffer(kBytes.data(), 1);
    buffer.addPiece(first);
    buffer.addPiece(second);
    EXPECT_EQ(buffer.size(), 4u);
    EXPECT_EQ(withClosingZero(buffer), (std::vector<std::uint8_t>{1, 2, 3, 4, 0}));
    EXPECT_EQ(buffer.size(), 4u);
}

TEST(BinaryBuffer, PiecesOfPiecesAreMergedFirst)
{
    BinaryBuffer inner(kBytes.data() + 1, 1);
    BinaryBuffer outer(nullptr, 0);
    outer.addPiece(inner);
    BinaryBuffer buffer(nullptr, 0);
    buffer.addPiece(outer);
    EXPECT_EQ(withClosingZero(buffer), (std::vector<std::uint8_t>{2, 0}));
}
