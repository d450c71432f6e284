#include "protocol/frames/request_encoder.h"

#include "support/byte_stream.h"
#include "support/value_tree.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace zel;
using namespace zel::test;

namespace {

Bytes streamed(RequestEncoder &encoder)
{
    std::ostringstream stream;
    encoder.encode(stream);
    return bytesOf(stream);
}

Bytes blockOf(RequestEncoder &encoder)
{
    Bytes block(encoder.encodedSize(), 0xEE);
    encoder.encodeTo(block);
    return block;
}

/** By both ways; the block last, because it releases the pages' data. */
void expectEncoded(RequestEncoder &encoder, const Bytes &expected)
{
    EXPECT_EQ(encoder.encodedSize(), expected.size());
    EXPECT_EQ(streamed(encoder), expected);
    EXPECT_EQ(blockOf(encoder), expected);
}

/** The first 26 bytes of a request about "*.*.*.*:549". */
Bytes header(std::uint16_t pages, std::uint16_t entries)
{
    return Bytes{
               0x01, 0x00,                                     // protocol version 1.0
               0x00, 0x18,                                     // header length: 24
               0x00, 0x0F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, // page address *.*.*.*
               0x02, 0x25,                                     // pidget number 549
               0x00, 0x0F,                                     // page header length: 15
               0x00, 0x02,                                     // page entry header length
               0x00, 0x02,                                     // entry header length
               0x00, 0x01,                                     // value header length
           } +
           wire::bigEndian(pages, 2) + wire::bigEndian(entries, 2);
}

class RequestEncoding : public testing::Test
{
protected:
    RequestEncoderV1_0 m_encoder{PidgetAddress("*.*.*.*:549")};
};

} // namespace

TEST_F(RequestEncoding, RequestWithoutPagesAndEntriesIs26Bytes)
{
    expectEncoded(m_encoder, {
                                 0x01, 0x00,                                     // protocol version 1.0
                                 0x00, 0x18,                                     // header length: 24
                                 0x00, 0x0F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, // page address *.*.*.*
                                 0x02, 0x25,                                     // pidget number 549
                                 0x00, 0x0F,                                     // page header length: 15
                                 0x00, 0x02,                                     // page entry header length
                                 0x00, 0x02,                                     // entry header length
                                 0x00, 0x01,                                     // value header length
                                 0x00, 0x00,                                     // no pages
                                 0x00, 0x00,                                     // no entries
                             });
}

TEST_F(RequestEncoding, EntriesStandInAscendingKeyOrder)
{
    m_encoder.addEntry(0x0102, Value::createString("ab"));
    m_encoder.addEntry(0x0000, Value::createLong(0x0123456789ABCDEF));
    expectEncoded(m_encoder,
                  header(0, 2) + Bytes{
                                     0x00, 0x00,                                           // key
                                     0x05, 0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, // long64
                                     0x01, 0x02,                                           // key
                                     0x06, 0x00, 0x03, 0x61, 0x62, 0x00,                   // string
                                 });
}

TEST_F(RequestEncoding, PageCarriesItsDataAndEntries)
{
    m_encoder.setPageData(PageAddress("1.2.3.4"), binaryOf({0xAA, 0xBB, 0xCC}));
    m_encoder.addPageEntry(PidgetAddress("1.2.3.4:258"), Value::createBool(true));
    m_encoder.addPageEntry(PidgetAddress("1.2.3.4:7"), Value::createByte(9));
    m_encoder.addEntry(1, Value::createNull());
    expectEncoded(m_encoder, header(1, 1) + Bytes{
                                                0x00, 0x00, 0x01, 0x00, 0x02, 0x00, 0x30, 0x04, // address
                                                0x00, 0x00, 0x00, 0x03,                         // data length
                                                0x00,             // flag: the second field is not 0
                                                0x00, 0x02,       // page entries
                                                0xAA, 0xBB, 0xCC, // data
                                                0x00, 0x07,       // key
                                                0x02, 0x09,       // byte
                                                0x01, 0x02,       // key
                                                0x01, 0x01,       // bool
                                                0x00, 0x01,       // the request's own key
                                                0x00,             // null
                                            });
}

TEST_F(RequestEncoding, FlagTellsOfDataOnAPageWhoseSecondFieldIsZero)
{
    m_encoder.setPageData(PageAddress("5.0.2.3.4"), binaryOf({0xAA}));
    m_encoder.setPageData(PageAddress("0.2.3.5"), binaryOf({}));
    m_encoder.addPageEntry(PidgetAddress("0.2.3.6:0"), Value::createNull());
    expectEncoded(m_encoder, header(3, 0) + Bytes{
                                                0x00, 0x50, 0x00, 0x00, 0x02, 0x00, 0x30, 0x04, // address
                                                0x00, 0x00, 0x00, 0x01,                         // data length
                                                0x01,                                           // flag
                                                0x00, 0x00, // page entries
                                                0xAA,       // data
                                                0x00, 0x00, 0x00, 0x00, 0x02, 0x00, 0x30, 0x05, // address
                                                0x00, 0x00, 0x00, 0x00,                         // data length
                                                0x01,       // flag: there is data, of no bytes
                                                0x00, 0x00, // page entries
                                                0x00, 0x00, 0x00, 0x00, 0x02, 0x00, 0x30, 0x06, // address
                                                0x00, 0x00, 0x00, 0x00,                         // data length
                                                0x00,       // flag: no data
                                                0x00, 0x01, // page entries
                                                0x00, 0x00, // key
                                                0x00,       // null
                                            });
}

TEST_F(RequestEncoding, MissingSecondFieldSetsNoFlag)
{
    m_encoder.setPageData(PageAddress("*.*.*.*"), binaryOf({}));
    EXPECT_EQ(streamed(m_encoder)[26 + 8 + 4], 0x00);
}

TEST_F(RequestEncoding, PagesStandInTheOrderInWhichTheyCame)
{
    for (const char *address : {"0.0.0.3", "0.0.0.1", "0.0.0.2"})
        m_encoder.setPageData(PageAddress(address), binaryOf({0x11}));
    const Bytes bytes = streamed(m_encoder);
    EXPECT_EQ(bytes[26 + 7], 0x03);
    EXPECT_EQ(bytes[26 + 16 + 7], 0x01);
    EXPECT_EQ(bytes[26 + 32 + 7], 0x02);
}

TEST_F(RequestEncoding, DataOfAKnownPageIsReplaced)
{
    m_encoder.setPageData(PageAddress("1.1.1.1"), binaryOf({0x11}));
    m_encoder.setPageData(PageAddress("2.2.2.2"), binaryOf({0x22}));
    m_encoder.setPageData(PageAddress("0.1.1.1.1"), binaryOf({0x33, 0x44}));
    const Bytes bytes = streamed(m_encoder);
    EXPECT_EQ(bytes.size(), 26u + 17u + 16u);
    EXPECT_EQ(bytes[26 + 15], 0x33);
    EXPECT_EQ(bytes[26 + 17 + 15], 0x22);
}

TEST_F(RequestEncoding, TheFirstValueUnderAKeyStays)
{
    m_encoder.addEntry(1, Value::createByte(1));
    m_encoder.addEntry(1, Value::createByte(2));
    m_encoder.addPageEntry(PidgetAddress("0.0.0.0:1"), Value::createByte(3));
    m_encoder.addPageEntry(PidgetAddress("0.0.0.0:1"), Value::createByte(4));
    const Bytes bytes = streamed(m_encoder);
    ASSERT_EQ(bytes.size(), 26u + 15u + 4u + 4u);
    EXPECT_EQ(bytes[26 + 15 + 3], 3);
    EXPECT_EQ(bytes.back(), 1);
}

// The bytes themselves, unstuffed: the length in the page header counts them.
TEST_F(RequestEncoding, EscapedBinariesAreWrittenAsTheirBytes)
{
    m_encoder.setPageData(PageAddress("1.1.1.1"), escapedBinaryOf({0xC0, 0xDB}));
    const Bytes bytes = streamed(m_encoder);
    EXPECT_EQ(bytes[26 + 11], 0x02);
    EXPECT_EQ(Bytes(bytes.end() - 2, bytes.end()), (Bytes{0xC0, 0xDB}));
}

TEST_F(RequestEncoding, PageDataThatIsNoBytesIsRefusedUnwritten)
{
    m_encoder.setPageData(PageAddress("1.1.1.1"), Value::createInt(0));
    std::ostringstream stream;
    EXPECT_THROW(m_encoder.encode(stream), ZELException);
    EXPECT_EQ(stream.str(), "");
    EXPECT_THROW(m_encoder.encodedSize(), ZELException);
    Bytes block(41);
    EXPECT_THROW(m_encoder.encodeTo(block), ZELException);
}

TEST_F(RequestEncoding, AbsentEntriesAreRefused)
{
    m_encoder.addEntry(1, {});
    EXPECT_THROW(m_encoder.encodedSize(), ZELException);
}

TEST_F(RequestEncoding, EntriesThatHaveNoEncodingAreRefused)
{
    m_encoder.addPageEntry(PidgetAddress("1.1.1.1:1"), Value::createBare(static_cast<ValueType>(12)));
    EXPECT_THROW(streamed(m_encoder), ZELException);
}

TEST_F(RequestEncoding, CountsThatDoNotFitAreRefusedInsteadOfCut)
{
    for (std::uint64_t raw = 0; raw < 65535; ++raw)
        m_encoder.setPageData(PageAddress(raw), {});
    EXPECT_EQ(m_encoder.encodedSize(), 26u + 65535u * 15u);
    EXPECT_EQ(streamed(m_encoder)[22], 0xFF);
    m_encoder.setPageData(PageAddress(std::uint64_t{65535}), {});
    EXPECT_THROW(m_encoder.encodedSize(), ZELException);
    EXPECT_THROW(streamed(m_encoder), ZELException);
}

TEST_F(RequestEncoding, EntriesThatDoNotFitTheirCountAreRefused)
{
    RequestEncoderV1_0 ofPage{PidgetAddress()};
    for (std::uint32_t key = 0; key < 65536; ++key) {
        if (key == 65535) {
            EXPECT_EQ(m_encoder.encodedSize(), 26u + 65535u * 3u);
            EXPECT_EQ(ofPage.encodedSize(), 26u + 15u + 65535u * 3u);
        }
        m_encoder.addEntry(static_cast<std::uint16_t>(key), Value::createNull());
        ofPage.addPageEntry(PidgetAddress(PageAddress(), static_cast<std::uint16_t>(key)),
                            Value::createNull());
    }
    EXPECT_THROW(m_encoder.encodedSize(), ZELException);
    EXPECT_THROW(ofPage.encodedSize(), ZELException);
}

TEST_F(RequestEncoding, WritingIntoABlockReleasesThePagesData)
{
    m_encoder.setPageData(PageAddress("1.1.1.1"), binaryOf(Bytes(1000, 0x11)));
    m_encoder.addPageEntry(PidgetAddress("1.1.1.1:1"), Value::createNull());
    EXPECT_EQ(blockOf(m_encoder).size(), 26u + 15u + 1000u + 3u);
    EXPECT_EQ(m_encoder.encodedSize(), 26u + 15u + 3u);
}

TEST_F(RequestEncoding, BlockOfAnotherSizeIsRefusedUntouched)
{
    m_encoder.setPageData(PageAddress("1.1.1.1"), binaryOf({0x11}));
    for (const std::size_t size :
         {std::size_t{0}, m_encoder.encodedSize() - 1, m_encoder.encodedSize() + 1}) {
        Bytes block(size, 0xEE);
        EXPECT_THROW(m_encoder.encodeTo(block), ZELException);
        EXPECT_EQ(block, Bytes(size, 0xEE));
    }
}

namespace {

/** Counts the times that what it holds was sent on. */
class FlushCounter : public std::stringbuf
{
public:
    int flushes = 0;

protected:
    int sync() override
    {
        ++flushes;
        return std::stringbuf::sync();
    }
};

} // namespace

TEST_F(RequestEncoding, StreamIsFlushedOnceBehindTheRequest)
{
    FlushCounter buffer;
    std::ostream stream(&buffer);
    m_encoder.encode(stream);
    EXPECT_EQ(buffer.flushes, 1);
    EXPECT_EQ(buffer.str().size(), 26u);
}

TEST_F(RequestEncoding, FailedStreamThrowsIOException)
{
    std::ostringstream stream;
    stream.setstate(std::ios::badbit);
    try {
        m_encoder.encode(stream);
        FAIL() << "nothing was thrown";
    } catch (const IOException &exception) {
        EXPECT_STREQ(exception.what(), "ProtocolOutputStream::write - IOException");
    }
}

namespace {

/** Takes every byte and cannot send them on. */
class UnsendableBuffer : public std::stringbuf
{
protected:
    int sync() override { return -1; }
};

} // namespace

TEST_F(RequestEncoding, FailedFlushThrowsIOException)
{
    UnsendableBuffer buffer;
    std::ostream stream(&buffer);
    try {
        m_encoder.encode(stream);
        FAIL() << "nothing was thrown";
    } catch (const IOException &exception) {
        EXPECT_STREQ(exception.what(), "ProtocolOutputStream::write - IOException");
    }
}
