#include "protocol/bytes/protocol_output_stream.h"

#include "support/byte_stream.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace zel;
using namespace zel::test;

namespace {

/** Takes a few bytes, then no more. */
class FullBuffer : public std::streambuf
{
public:
    explicit FullBuffer(std::streamsize room) : m_room(room) {}

protected:
    std::streamsize xsputn(const char *, std::streamsize count) override
    {
        const std::streamsize taken = std::min(count, m_room);
        m_room -= taken;
        return taken;
    }

private:
    std::streamsize m_room;
};

/** Notes whether it was flushed. */
class FlushNoter : public std::stringbuf
{
public:
    int flushes = 0;

protected:
    int sync() override
    {
        ++flushes;
        return 0;
    }
};

} // namespace

TEST(ProtocolOutputStream, IntegersAreBigEndian)
{
    std::ostringstream stream;
    ProtocolOutputStream out(stream);
    out.writeByte(0x7F);
    out.writeShort(0xFFFE);
    out.writeInt(0x01020304);
    out.writeLong(0x0102030405060708);
    EXPECT_EQ(bytesOf(stream), (Bytes{
                                   0x7F,                                           // byte
                                   0xFF, 0xFE,                                     // short
                                   0x01, 0x02, 0x03, 0x04,                         // int
                                   0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, // long
                               }));
}

TEST(ProtocolOutputStream, BothWritesPutTheBytes)
{
    std::ostringstream stream;
    ProtocolOutputStream out(stream);
    const Bytes bytes = {1, 2, 3};
    out.write(bytes.data(), 3);
    out.writeChecked(bytes.data(), 2);
    EXPECT_EQ(bytesOf(stream), (Bytes{1, 2, 3, 1, 2}));
}

TEST(ProtocolOutputStream, WritingNothingToAFailedStreamDoesNotFail)
{
    std::ostringstream stream;
    stream.setstate(std::ios::failbit);
    ProtocolOutputStream out(stream);
    EXPECT_NO_THROW(out.write(nullptr, 0));
}

TEST(ProtocolOutputStream, StreamThatHasFailedThrows)
{
    std::ostringstream stream;
    stream.setstate(std::ios::failbit);
    ProtocolOutputStream out(stream);
    try {
        out.writeByte(1);
        FAIL() << "nothing was thrown";
    } catch (const IOException &exception) {
        EXPECT_STREQ(exception.what(), "ProtocolOutputStream::write - IOException");
    }
    stream.clear();
    EXPECT_EQ(stream.str(), "");
}

TEST(ProtocolOutputStream, StreamThatFailsInTheMiddleThrows)
{
    FullBuffer buffer(2);
    std::ostream stream(&buffer);
    ProtocolOutputStream out(stream);
    out.writeShort(1);
    EXPECT_THROW(out.writeInt(1), IOException);
}

// Each flush is a packet on the wire: only whoever writes a frame knows when it is whole.
TEST(ProtocolOutputStream, NothingIsFlushed)
{
    FlushNoter buffer;
    std::ostream stream(&buffer);
    ProtocolOutputStream out(stream);
    out.writeLong(1);
    EXPECT_EQ(buffer.flushes, 0);
}
