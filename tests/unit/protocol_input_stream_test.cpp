#include "protocol/bytes/protocol_input_stream.h"

#include "support/byte_stream.h"
#include "support/log_capture.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <stdexcept>

using namespace zel;
using namespace zel::test;

namespace {

std::string ioTextOf(const std::function<void()> &action)
{
    try {
        action();
    } catch (const IOException &exception) {
        return exception.what();
    }
    return "nothing was thrown";
}

/** Gives any number of bytes and notes how many are asked for at a time. */
class NotingBuffer : public std::streambuf
{
public:
    explicit NotingBuffer(std::streamsize available) : m_available(available) {}
    std::vector<std::streamsize> asked;

protected:
    std::streamsize xsgetn(char *target, std::streamsize count) override
    {
        asked.push_back(count);
        const std::streamsize given = std::min(count, m_available);
        std::fill_n(target, given, 'x');
        m_available -= given;
        return given;
    }

private:
    std::streamsize m_available;
};

/** Fails as a socket does. */
template <class Exception>
class FailingBuffer : public std::streambuf
{
protected:
    int_type underflow() override { throw Exception("the line is dead"); }
};

} // namespace

TEST(ProtocolInputStream, IntegersAreBigEndian)
{
    std::istringstream stream = streamOf({
        0x7F,                                           // byte
        0xFF, 0xFE,                                     // short
        0x01, 0x02, 0x03, 0x04,                         // int
        0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, // long
    });
    ProtocolInputStream in(stream);
    EXPECT_EQ(in.readByte(), 0x7F);
    EXPECT_EQ(in.readShort(), 0xFFFE);
    EXPECT_EQ(in.readInt(), 0x01020304u);
    EXPECT_EQ(in.readLong(), 0x0102030405060708u);
    EXPECT_TRUE(in.isAtEnd());
}

TEST(ProtocolInputStream, ResetSocketIsAtItsEnd)
{
    ResetStream stream({0x2A});
    ProtocolInputStream in(stream, stream.buffer());
    EXPECT_FALSE(in.isAtEnd());
    EXPECT_EQ(in.readByte(), 0x2A);
    EXPECT_TRUE(in.isAtEnd());
}

TEST(ProtocolInputStream, ShortInputNamesTheBytesAskedFor)
{
    for (const int given : {0, 1, 3}) {
        std::istringstream stream(std::string(static_cast<std::size_t>(given), 'x'));
        ProtocolInputStream in(stream);
        EXPECT_EQ(ioTextOf([&] { in.readInt(); }), "ProtocolInputStream::read - failed reading 4 bytes");
        EXPECT_TRUE(in.isBad());
    }
}

TEST(ProtocolInputStream, FailedStreamIsNotRead)
{
    std::istringstream stream = streamOf({0x01});
    stream.setstate(std::ios::failbit);
    ProtocolInputStream in(stream);
    EXPECT_EQ(ioTextOf([&] { in.readByte(); }), "ProtocolInputStream::read - failed reading 1 bytes");
    stream.clear();
    EXPECT_EQ(in.readByte(), 1);
}

TEST(ProtocolInputStream, ReadingNothingNeitherReadsNorFails)
{
    std::istringstream stream = streamOf({0x01});
    stream.setstate(std::ios::failbit);
    ProtocolInputStream in(stream);
    std::uint8_t untouched = 0xAA;
    in.readFully(&untouched, 0);
    in.readFully(&untouched, -5);
    in.read(&untouched, 0);
    EXPECT_EQ(untouched, 0xAA);
}

TEST(ProtocolInputStream, PlainReadIsTheFullRead)
{
    std::istringstream stream = streamOf({0x01, 0x02, 0x03});
    ProtocolInputStream in(stream);
    std::uint8_t bytes[2];
    in.read(bytes, std::uint32_t{2});
    EXPECT_EQ(bytes[1], 0x02);
    EXPECT_EQ(ioTextOf([&] { in.read(bytes, std::uint32_t{2}); }),
              "ProtocolInputStream::read - failed reading 2 bytes");
}

TEST(ProtocolInputStream, ChunkedReadGrowsAsTheDataArrives)
{
    NotingBuffer buffer(200000);
    std::istream stream(&buffer);
    ProtocolInputStream in(stream);
    ByteArray bytes;
    in.read(bytes, 200000);
    EXPECT_EQ(buffer.asked, (std::vector<std::streamsize>{65536, 131072, 3392}));
    ASSERT_EQ(bytes.size(), 200000u);
    EXPECT_EQ(bytes.data()[0], 'x');
    EXPECT_EQ(bytes.data()[199999], 'x');
}

TEST(ProtocolInputStream, ChunkedReadOfAShortRunIsOneChunk)
{
    NotingBuffer buffer(100);
    std::istream stream(&buffer);
    ProtocolInputStream in(stream);
    ByteArray bytes;
    in.read(bytes, 100);
    EXPECT_EQ(buffer.asked, (std::vector<std::streamsize>{100}));
    EXPECT_EQ(bytes.size(), 100u);
}

TEST(ProtocolInputStream, ForgedLengthAsksForNoMoreThanTheFirstChunk)
{
    NotingBuffer buffer(10);
    std::istream stream(&buffer);
    ProtocolInputStream in(stream);
    ByteArray bytes;
    EXPECT_EQ(ioTextOf([&] { in.read(bytes, 0x7FFFFFFF); }),
              "ProtocolInputStream::read - failed reading 2147483647 bytes");
    EXPECT_EQ(buffer.asked, (std::vector<std::streamsize>{65536}));
}

TEST(ProtocolInputStream, ChunkedReadOfMoreThanThereIsNamesTheTotal)
{
    std::istringstream stream(std::string(10, 'x'));
    ProtocolInputStream in(stream);
    ByteArray bytes;
    bytes.resize(3);
    EXPECT_EQ(ioTextOf([&] { in.read(bytes, 100); }), "ProtocolInputStream::read - failed reading 100 bytes");
    EXPECT_EQ(bytes.size(), 3u);

    NotingBuffer buffer(70000);
    std::istream longer(&buffer);
    ProtocolInputStream longerIn(longer);
    EXPECT_EQ(ioTextOf([&] { longerIn.read(bytes, 100000); }),
              "ProtocolInputStream::read - failed reading 100000 bytes");
}

TEST(ProtocolInputStream, ChunkedReadOfNothingLeavesTheTargetAlone)
{
    std::istringstream stream;
    ProtocolInputStream in(stream);
    ByteArray bytes;
    bytes.resize(3);
    in.read(bytes, 0);
    in.read(bytes, -1);
    EXPECT_EQ(bytes.size(), 3u);
    EXPECT_FALSE(in.isBad());
}

TEST(ProtocolInputStream, FailureOfTheSocketKeepsItsTextExceptInChunks)
{
    FailingBuffer<IOException> buffer;
    std::istream stream(&buffer);
    stream.exceptions(std::ios::badbit);
    ProtocolInputStream in(stream);
    EXPECT_EQ(ioTextOf([&] { in.readByte(); }), "the line is dead");
    EXPECT_TRUE(in.isBad());

    stream.exceptions(std::ios::goodbit);
    stream.clear();
    stream.exceptions(std::ios::badbit);
    ByteArray bytes;
    EXPECT_EQ(ioTextOf([&] { in.read(bytes, 7); }), "ProtocolInputStream::read - failed reading 7 bytes");
}

TEST(ProtocolInputStream, OtherExceptionsPassThroughAChunkedRead)
{
    FailingBuffer<std::runtime_error> buffer;
    std::istream stream(&buffer);
    stream.exceptions(std::ios::badbit);
    ProtocolInputStream in(stream);
    ByteArray bytes;
    EXPECT_THROW(in.read(bytes, 7), std::runtime_error);
}

TEST(ProtocolInputStream, SkipDiscardsBytes)
{
    Bytes bytes(1001, 'x');
    bytes.back() = 'y';
    std::istringstream stream = streamOf(bytes);
    ProtocolInputStream in(stream);
    in.skipBytes(0);
    in.skipBytes(1000);
    EXPECT_EQ(in.readByte(), 'y');
}

// The byte behind those skipped may never come.
TEST(ProtocolInputStream, SkipDoesNotLookAtTheByteBehind)
{
    TrickleStream stream(Bytes(300, 0x41), 7);
    ProtocolInputStream in(stream, stream.buffer());
    in.skipBytes(300);
    EXPECT_EQ(stream.buffer().waits(), 0);
    EXPECT_FALSE(in.isBad());
}

TEST(ProtocolInputStream, SkippingPastTheEndFailsAtTheNextRead)
{
    std::istringstream stream = streamOf({0x01, 0x02});
    ProtocolInputStream in(stream);
    in.skipBytes(3);
    EXPECT_TRUE(in.isBad());
    EXPECT_EQ(ioTextOf([&] { in.readByte(); }), "ProtocolInputStream::read - failed reading 1 bytes");
}

TEST(ProtocolInputStream, SkippingBackwardsIsLoggedAndThrows)
{
    LogCapture log;
    std::istringstream stream = streamOf({0x01});
    ProtocolInputStream in(stream);
    EXPECT_EQ(ioTextOf([&] { in.skipBytes(-1); }),
              "ProtocolInputStream::skipBytes - failed skipping -1 bytes");
    EXPECT_TRUE(log.contains(LogLevel::Error, "Error: ProtocolInputStream::skipBytes - skipping -1 bytes"));
    EXPECT_EQ(in.readByte(), 1);
}

TEST(ProtocolInputStream, IsAtEndLeavesTheByteToBeRead)
{
    TrickleStream stream({0x2A}, 1);
    ProtocolInputStream in(stream, stream.buffer());
    EXPECT_FALSE(in.isAtEnd());
    EXPECT_FALSE(in.isAtEnd());
    EXPECT_EQ(in.readByte(), 0x2A);
    EXPECT_TRUE(in.isAtEnd());
}
