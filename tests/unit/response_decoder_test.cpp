#include "protocol/frames/response_decoder.h"

#include "support/byte_stream.h"
#include "support/value_tree.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

using namespace zel;
using namespace zel::test;

namespace {

const Bytes kTwoInstructions = {
    0x00, 0x0A,                         // header length
    0x00, 0x03,                         // instruction header length
    0x00, 0x01,                         // argument header length
    0x00, 0x01,                         // value header length
    0x00, 0x02,                         // instructions
    0x12, 0x34,                         // code of the first
    0x02,                               // arguments
    0x05,                               // index
    0x04, 0x00, 0x00, 0x00, 0x07,       // int32 7
    0x01,                               // index
    0x06, 0x00, 0x03, 0x61, 0x62, 0x00, // string
    0xAB, 0xCD,                         // code of the second
    0x00,                               // arguments
};

ResponseDecoderV1_0 decoderOf(const Bytes &bytes)
{
    std::istringstream stream = streamOf(bytes);
    return ResponseDecoderV1_0(stream);
}

template <class Action>
std::string ioTextOfAction(Action action)
{
    try {
        action();
    } catch (const IOException &exception) {
        return exception.what();
    }
    return "nothing was thrown";
}

std::string ioTextOf(const Bytes &bytes)
{
    return ioTextOfAction([&] { decoderOf(bytes); });
}

/** A decoder whose steps can be taken once more. */
class SteppedDecoder : public ResponseDecoderV1_0
{
public:
    using ResponseDecoderV1_0::parseBody;
    using ResponseDecoderV1_0::parseHeader;
    using ResponseDecoderV1_0::parseInstructions;
    using ResponseDecoderV1_0::ResponseDecoderV1_0;
};

} // namespace

TEST(ResponseDecoder, InstructionsComeInTheOrderReceived)
{
    std::istringstream stream = streamOf(kTwoInstructions);
    const ResponseDecoderV1_0 decoder(stream);
    const InstructionList &instructions = decoder.getInstructions();
    ASSERT_EQ(instructions.size(), 2u);
    EXPECT_EQ(instructions[0]->getCode(), 0x1234u);
    ASSERT_EQ(instructions[0]->getArguments().size(), 2u);
    EXPECT_EQ(instructions[0]->getArguments().at(5).getInt(), 7u);
    EXPECT_EQ(instructions[0]->getArguments().at(1).textView(), "ab");
    EXPECT_EQ(instructions[0]->getArguments().begin()->first, 1u);
    EXPECT_EQ(instructions[1]->getCode(), 0xABCDu);
    EXPECT_TRUE(instructions[1]->getArguments().empty());
}

TEST(ResponseDecoder, ResponseCutAnywhereThrowsIOException)
{
    for (std::size_t length = 0; length < kTwoInstructions.size(); ++length) {
        std::istringstream stream = streamOf(
            {kTwoInstructions.begin(), kTwoInstructions.begin() + static_cast<std::ptrdiff_t>(length)});
        EXPECT_THROW(ResponseDecoderV1_0 decoder(stream), IOException) << length;
    }
}

TEST(ResponseDecoder, LongerHeadersAreSkipped)
{
    std::istringstream stream = streamOf({
        0x00, 0x0C,       // header length: two bytes more
        0x00, 0x05,       // instruction header length: two bytes more
        0x00, 0x02,       // argument header length: one byte more
        0x00, 0x03,       // value header length: two bytes more
        0x00, 0x01,       // instructions
        0xEE, 0xEE,       // skipped
        0x12, 0x34,       // code
        0x01,             // arguments
        0xEE, 0xEE,       // skipped
        0x05,             // index
        0xEE,             // skipped
        0x02, 0xEE, 0xEE, // byte, skipped
        0x07,             // its body
    });
    const ResponseDecoderV1_0 decoder(stream);
    ASSERT_EQ(decoder.getInstructions().size(), 1u);
    EXPECT_EQ(decoder.getInstructions()[0]->getCode(), 0x1234u);
    EXPECT_EQ(decoder.getInstructions()[0]->getArguments().at(5).getByte(), 7);
}

TEST(ResponseDecoder, HeaderShorterThanItsFieldsThrows)
{
    EXPECT_EQ(ioTextOf({0x00, 0x09, 0x00, 0x03, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00}),
              "ProtocolInputStream::skipBytes - failed skipping -1 bytes");
    EXPECT_EQ(ioTextOf({0x00, 0x0A, 0x00, 0x01, 0x00, 0x01, 0x00, 0x01, 0x00, 0x01, 0x12, 0x34, 0x00}),
              "ProtocolInputStream::skipBytes - failed skipping -2 bytes");
    EXPECT_EQ(ioTextOf({0x00, 0x0A, 0x00, 0x03, 0x00, 0x00, 0x00, 0x01, 0x00, 0x01, 0x12, 0x34, 0x01, 0x05}),
              "ProtocolInputStream::skipBytes - failed skipping -1 bytes");
    EXPECT_EQ(
        ioTextOf({0x00, 0x0A, 0x00, 0x03, 0x00, 0x01, 0x00, 0x00, 0x00, 0x01, 0x12, 0x34, 0x01, 0x05, 0x00}),
        "ProtocolInputStream::skipBytes - failed skipping -1 bytes");
}

TEST(ResponseDecoder, CountIsSignedSoThatALargeOneMeansNone)
{
    std::istringstream stream =
        streamOf({0x00, 0x0A, 0x00, 0x03, 0x00, 0x01, 0x00, 0x01, 0xFF, 0xFF, 0x12, 0x34});
    EXPECT_TRUE(ResponseDecoderV1_0(stream).getInstructions().empty());
}

TEST(ResponseDecoder, CountBeyondTheInputThrows)
{
    EXPECT_EQ(ioTextOf({0x00, 0x0A, 0x00, 0x03, 0x00, 0x01, 0x00, 0x01, 0x7F, 0xFF, 0x12, 0x34, 0x00}),
              "ProtocolInputStream::read - failed reading 2 bytes");
}

TEST(ResponseDecoder, TheFirstArgumentUnderAnIndexStays)
{
    std::istringstream stream = streamOf({
        0x00, 0x0A, 0x00, 0x03, 0x00, 0x01, 0x00, 0x01, 0x00, 0x01, // header
        0x12, 0x34, 0x02,                                           // instruction
        0x05, 0x02, 0x07,                                           // index 5: byte 7
        0x05, 0x02, 0x08,                                           // index 5: byte 8
    });
    const ResponseDecoderV1_0 decoder(stream);
    EXPECT_EQ(decoder.getInstructions()[0]->getArguments().at(5).getByte(), 7);
}

TEST(ResponseDecoder, ArgumentWithoutAValueIsAbsent)
{
    std::istringstream stream = streamOf({
        0x00, 0x0A, 0x00, 0x03, 0x00, 0x01, 0x00, 0x01, 0x00, 0x01, // header
        0x12, 0x34, 0x01,                                           // instruction
        0x05, 0x0F,                                                 // index 5: any type
    });
    const ResponseDecoderV1_0 decoder(stream);
    EXPECT_TRUE(decoder.getInstructions()[0]->getArguments().at(5).isAbsent());
}

TEST(ResponseDecoder, ArgumentThatDoesNotDecodePassesItsException)
{
    std::istringstream stream = streamOf({
        0x00, 0x0A, 0x00, 0x03, 0x00, 0x01, 0x00, 0x01, 0x00, 0x01, // header
        0x12, 0x34, 0x01,                                           // instruction
        0x05, 0x0C,                                                 // index 5: an unknown type
    });
    EXPECT_THROW(ResponseDecoderV1_0 decoder(stream), ZELException);
}

// Elements without a body come free: what they take in memory is bound for all arguments together.
TEST(ResponseDecoder, BoundOnTheTreeIsOneForTheWholeAnswer)
{
    const auto answerWith = [](std::uint8_t arguments) {
        Bytes bytes = {0x00, 0x0A, 0x00,     0x03, 0x00, 0x01, 0x00, 0x01, 0x00, 0x01, // header
                       0x12, 0x34, arguments};                                         // instruction
        for (std::uint8_t index = 0; index < arguments; ++index)
            bytes = bytes + Bytes{index, 0x09, 0xFF, 0xFF, 0x00}; // data array, 65,535 nulls
        return bytes;
    };
    EXPECT_NO_THROW(decoderOf(answerWith(3)));
    EXPECT_THROW(decoderOf(answerWith(5)), ZELException);
}

TEST(ResponseDecoder, StreamThatIsBadAlreadyIsRefused)
{
    std::istringstream stream = streamOf(kTwoInstructions);
    stream.setstate(std::ios::badbit);
    EXPECT_EQ(ioTextOfAction([&] { ResponseDecoderV1_0 decoder(stream); }),
              "ResponseDecoderV1_0::ctor - bad input stream");
}

TEST(ResponseDecoder, EachStepRefusesAStreamThatIsBad)
{
    std::istringstream stream = streamOf(kTwoInstructions);
    SteppedDecoder decoder(stream);
    stream.setstate(std::ios::badbit);
    EXPECT_EQ(ioTextOfAction([&] { decoder.parseHeader(); }),
              "ResponseDecoderV1_0::parseHeader - bad input stream");
    EXPECT_EQ(ioTextOfAction([&] { decoder.parseBody(); }),
              "ResponseDecoderV1_0::parseBody - bad input stream");
    EXPECT_EQ(ioTextOfAction([&] { decoder.parseInstructions(); }),
              "ResponseDecoderV1_0::parseInstructions - bad input stream");
}

TEST(ResponseDecoder, SkippingPastTheEndIsFoundBehindTheHeaderAndBehindTheInstructions)
{
    EXPECT_EQ(ioTextOf({0x00, 0x0C, 0x00, 0x03, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00, 0xEE}),
              "ResponseDecoderV1_0::parseBody - bad input stream");
    EXPECT_EQ(ioTextOf({0x00, 0x0A, 0x00, 0x05, 0x00, 0x01, 0x00, 0x01, 0x00, 0x01, 0x12, 0x34, 0x00, 0xEE}),
              "ResponseDecoderV1_0::parseBody - bad input stream");
}
