#include "protocol/values/value_decoder.h"

#include "protocol/values/value_format.h"
#include "support/byte_stream.h"
#include "support/log_capture.h"
#include "support/value_tree.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

#include <functional>

using namespace zel;
using namespace zel::test;

/** Input that nobody means well with. */
namespace {

Bytes nestedValueArrays(std::size_t depth)
{
    return repeated({0x08, 0x00, 0x01}, depth - 1) + Bytes{0x08, 0x00, 0x00};
}

Bytes nestedDataArrays(std::size_t depth)
{
    return Bytes{0x09} + repeated({0x00, 0x01, 0x09}, depth - 1) + Bytes{0x00, 0x00, 0x00};
}

Bytes nestedTerminatedArrays(std::size_t depth)
{
    return repeated({0x0A}, depth) + repeated({0x0B}, depth);
}

Bytes nestedMixedArrays(std::size_t depth)
{
    Bytes bytes;
    for (std::size_t i = 0; i < depth; ++i) {
        const Bytes level = i % 3 == 0   ? Bytes{0x08, 0x00, 0x01}
                            : i % 3 == 1 ? Bytes{0x0A}
                                         : Bytes{0x09, 0x00, 0x01, 0x08, 0x00, 0x01};
        bytes.insert(bytes.end(), level.begin(), level.end());
    }
    return bytes + Bytes{0x00};
}

int depthOf(const Value &value)
{
    int depth = 0;
    for (const Value *at = &value; at != nullptr && at->isArray();
         at = at->getArray().empty() ? nullptr : &at->getArray()[0])
        ++depth;
    return depth;
}

/** From a stream, as an answer comes. */
Value decodedTrickling(const Bytes &bytes)
{
    TrickleStream stream(bytes, 4096);
    ProtocolInputStream in(stream, stream.buffer());
    return ValueFormatV1_0().decode(in);
}

bool isRefused(const Bytes &bytes)
{
    try {
        decodedTrickling(bytes);
    } catch (const IOException &) {
        return false;
    } catch (const ZELException &exception) {
        return exception.what() == std::string();
    }
    return false;
}

std::string ioTextOfDecoding(const Bytes &bytes)
{
    try {
        decodedTrickling(bytes);
    } catch (const IOException &exception) {
        return exception.what();
    }
    return "nothing was thrown";
}

/** A value array of data arrays of 65,535 elements of a type without a body. */
Bytes arraysOfBodiless(std::size_t arrays, std::uint8_t type)
{
    return Bytes{0x08} + wire::bigEndian(arrays, 2) + repeated({0x09, 0xFF, 0xFF, type}, arrays);
}

} // namespace

TEST(ValueDecoder, ArraysNestedTo256AreRead)
{
    EXPECT_EQ(depthOf(decodedTrickling(nestedValueArrays(256))), 256);
    EXPECT_EQ(depthOf(decodedTrickling(nestedDataArrays(256))), 256);
    EXPECT_EQ(depthOf(decodedTrickling(nestedTerminatedArrays(256))), 256);
}

TEST(ValueDecoder, ArraysNestedDeeperAreRefused)
{
    for (const std::size_t depth : {257u, 100000u}) {
        EXPECT_TRUE(isRefused(nestedValueArrays(depth))) << depth;
        EXPECT_TRUE(isRefused(nestedDataArrays(depth))) << depth;
        EXPECT_TRUE(isRefused(nestedTerminatedArrays(depth))) << depth;
        EXPECT_TRUE(isRefused(nestedMixedArrays(depth))) << depth;
    }
}

TEST(ValueDecoder, TooDeepNestingIsLogged)
{
    LogCapture log;
    EXPECT_TRUE(isRefused(nestedValueArrays(257)));
    EXPECT_TRUE(log.contains(LogLevel::Error, "ValueFormatV1_0::decode - arrays nested too deep"));
}

TEST(ValueDecoder, ArraysSideBySideDoNotAddUpToDepth)
{
    const auto value = decodedTrickling(Bytes{0x08, 0x03, 0xE8} + repeated({0x08, 0x00, 0x00}, 1000));
    EXPECT_EQ(value.getArray().size(), 1000u);
}

TEST(ValueDecoder, LargestCountOfRealElementsIsRead)
{
    const auto value = decodedTrickling(Bytes{0x08, 0xFF, 0xFF} + repeated({0x02, 0x07}, 65535));
    ASSERT_EQ(value.getArray().size(), 65535u);
    EXPECT_EQ(value.getArray().back().getByte(), 7);
    EXPECT_EQ(decodedTrickling(Bytes{0x09, 0xFF, 0xFF, 0x02} + Bytes(65535, 7)).getArray().size(), 65535u);
    EXPECT_EQ(decodedTrickling(Bytes{0x0A} + repeated({0x02, 0x07}, 70000) + Bytes{0x0B}).getArray().size(),
              70000u);
}

TEST(ValueDecoder, CountBeyondTheInputThrowsIOException)
{
    EXPECT_EQ(ioTextOfDecoding({0x08, 0xFF, 0xFF, 0x02, 0x07}),
              "ProtocolInputStream::read - failed reading 1 bytes");
    EXPECT_EQ(ioTextOfDecoding({0x09, 0xFF, 0xFF, 0x05, 0x07}),
              "ProtocolInputStream::read - failed reading 8 bytes");
    EXPECT_EQ(ioTextOfDecoding({0x0A, 0x02, 0x07}), "ProtocolInputStream::read - failed reading 1 bytes");
}

namespace {

std::string ioTextOfReset(const Bytes &bytes)
{
    ResetStream stream(bytes);
    ProtocolInputStream in(stream, stream.buffer());
    try {
        ValueFormatV1_0().decode(in);
    } catch (const IOException &exception) {
        return exception.what();
    }
    return "nothing was thrown";
}

} // namespace

TEST(ValueDecoder, BinaryCutByAResetTellsItsLengthWhateverThatIs)
{
    for (const int length : {1, 23, 24, 25, 1000}) {
        const Bytes header = Bytes{0x07} + wire::bigEndian(static_cast<std::size_t>(length), 4);
        const std::string text =
            "ProtocolInputStream::read - failed reading " + std::to_string(length) + " bytes";
        EXPECT_EQ(ioTextOfReset(header), text);
        EXPECT_EQ(ioTextOfReset(header + Bytes(static_cast<std::size_t>(length - 1), 0x41)), text);
    }
    EXPECT_EQ(ioTextOfReset({0x07, 0x00}), "reset") << "its length is no part of it";
    EXPECT_EQ(ioTextOfReset({0x06, 0x00, 0x05, 'a'}), "reset") << "a string passes the failure on";
}

TEST(ValueDecoder, ForgedLengthsThrowIOException)
{
    EXPECT_EQ(ioTextOfDecoding({0x06, 0xFF, 0xFF, 0x41}),
              "ProtocolInputStream::read - failed reading 65535 bytes");
    EXPECT_EQ(ioTextOfDecoding({0x07, 0x7F, 0xFF, 0xFF, 0xFF, 0x41}),
              "ProtocolInputStream::read - failed reading 2147483647 bytes");
}

TEST(ValueDecoder, LengthsOfTwoGibibytesAndMoreAreRefusedUnread)
{
    for (const Bytes &bytes :
         {Bytes{0x07, 0x80, 0x00, 0x00, 0x00, 0x41}, Bytes{0x07, 0xFF, 0xFF, 0xFF, 0xFF, 0x41}}) {
        TrickleStream stream(bytes, 4096);
        ProtocolInputStream in(stream, stream.buffer());
        EXPECT_THROW(ValueFormatV1_0().decode(in), IOException);
        EXPECT_EQ(in.readByte(), 0x41);
    }
    EXPECT_THROW(decodeValue(Bytes{0x07, 0x80, 0x00, 0x00, 0x00}), IOException);
}

TEST(ValueDecoder, BinaryOverManyRefillsIsWhole)
{
    Bytes content(300000, 0);
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<std::uint8_t>(i * 7);
    TrickleStream stream(Bytes{0x07} + wire::bigEndian(content.size(), 4) + content + Bytes{0x2A}, 4096);
    ProtocolInputStream in(stream, stream.buffer());
    const auto value = ValueFormatV1_0().decode(in);
    EXPECT_TRUE(std::ranges::equal(value.bytesView(), content));
    EXPECT_EQ(in.readByte(), 0x2A);
}

TEST(ValueDecoder, EscapedBinaryOverManyRefillsIsWhole)
{
    const Bytes bytes = Bytes{0x0E} + repeated({0x41, 0xDB, 0xDC, 0x42, 0xDB, 0xDD}, 20000) + Bytes{0xC0};
    const Bytes content = repeated({0x41, 0xC0, 0x42, 0xDB}, 20000);
    EXPECT_TRUE(std::ranges::equal(decodedTrickling(bytes).bytesView(), content));
    EXPECT_TRUE(std::ranges::equal(decodeValue(bytes).bytesView(), content));
}

// Elements without a body come free of charge for the sender: 16 MiB of them, and 64 bytes per byte.
TEST(ValueDecoder, ElementsWithoutABodyAreBounded)
{
    for (const std::uint8_t type : Bytes{0x00, 0x0B, 0x0F}) {
        EXPECT_EQ(decodedTrickling(arraysOfBodiless(4, type)).getArray().size(), 4u);
        EXPECT_TRUE(isRefused(arraysOfBodiless(5, type)));
        EXPECT_TRUE(isRefused(arraysOfBodiless(10000, type)));
    }
}

TEST(ValueDecoder, BytesReceivedPayForElementsWithoutABody)
{
    const Bytes payload = Bytes{0x07, 0x00, 0x10, 0x00, 0x00} + Bytes(0x100000, 0x41);
    const Bytes bytes = Bytes{0x08, 0x00, 0x11} + payload + repeated({0x09, 0xFF, 0xFF, 0x00}, 16);
    EXPECT_EQ(decodedTrickling(bytes).getArray().size(), 17u);
}

TEST(ValueDecoder, SkippedHeaderBytesPayToo)
{
    const Bytes header(20000, 0xEE);
    Bytes bytes = Bytes{0x08} + header + Bytes{0x00, 0x06};
    for (int i = 0; i < 6; ++i)
        bytes = std::move(bytes) + Bytes{0x09} + header + Bytes{0xFF, 0xFF, 0x00} + header;
    TrickleStream stream(bytes, 4096);
    ProtocolInputStream in(stream, stream.buffer());
    EXPECT_EQ(ValueFormatV1_0(20001).decode(in).getArray().size(), 6u);
}

TEST(ValueDecoder, TooManyElementsWithoutABodyAreLogged)
{
    LogCapture log;
    EXPECT_TRUE(isRefused(arraysOfBodiless(6, 0x00)));
    EXPECT_TRUE(log.contains(LogLevel::Error,
                             "ValueFormatV1_0::decode - data array holds too many elements without a body"));
}

// Whole answers of a hostile pen, refused as such: data arrays of data arrays of nulls.
TEST(ValueDecoder, ElementsWithoutABodyAddUpAcrossTheTree)
{
    EXPECT_TRUE(isRefused(Bytes{0x09, 0x00, 0x06, 0x09} + repeated({0xFF, 0xFF, 0x00}, 6)));
    EXPECT_TRUE(isRefused(Bytes{0x0A} + repeated({0x09, 0xFF, 0xFF, 0x00}, 6) + Bytes{0x0B}));
}

TEST(ValueDecoder, TextOfAStringEndsAtTheFirstZero)
{
    EXPECT_EQ(textUpToZero(Bytes{0x61, 0x00, 0x62}), "a");
    EXPECT_EQ(textUpToZero(Bytes{0x61, 0x62}), "ab");
    EXPECT_EQ(textUpToZero(Bytes{0x00}), "");
    EXPECT_EQ(textUpToZero({}), "");
}
