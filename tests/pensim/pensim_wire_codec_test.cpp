#include "pensim/wire_codec.h"

#include <gtest/gtest.h>

namespace {

using pensim::Bytes;
using pensim::Type;
using pensim::Value;

struct CodecCase {
    const char *name;
    Value value;
    Bytes bytes;
};

const CodecCase kCodecCases[] = {
    {"null", Value::null(), {0x00}},
    {"bool", Value::boolean(true), {0x01, 0x01}},
    {"byte", Value::byte(0xfe), {0x02, 0xfe}},
    {"short16", Value::short16(0x0102), {0x03, 0x01, 0x02}},
    {"int32", Value::int32(7), {0x04, 0x00, 0x00, 0x00, 0x07}},
    {"long64", Value::long64(0x0102030405060708), {0x05, 1, 2, 3, 4, 5, 6, 7, 8}},
    {"string",
     Value::string("abc"),
     {0x06,                     // type
      0x00, 0x04,               // three bytes and the zero
      0x61, 0x62, 0x63, 0x00}}, // abc
    {"empty string", Value::string(""), {0x06, 0x00, 0x01, 0x00}},
    {"binary", Value::binary(Bytes{1, 2, 3}), {0x07, 0x00, 0x00, 0x00, 0x03, 1, 2, 3}},
    {"array",
     Value::array({Value::boolean(false), Value::short16(5)}),
     {0x08,               // type
      0x00, 0x02,         // two items
      0x01, 0x00,         // false
      0x03, 0x00, 0x05}}, // 5
    {"data array",
     Value::dataArray(Type::short16, {Value::short16(1), Value::short16(2)}),
     {0x09,         // type
      0x00, 0x02,   // two items
      0x03,         // each a short16, without a type of its own
      0x00, 0x01,   // 1
      0x00, 0x02}}, // 2
    {"terminated array",
     Value::terminatedArray({Value::int32(5)}),
     {0x0a,                         // type
      0x04, 0x00, 0x00, 0x00, 0x05, // 5
      0x0b}},                       // terminator
    {"escaped binary", Value::escapedBinary({0xc0, 0xdb, 0x41}), {0x0e, 0xdb, 0xdc, 0xdb, 0xdd, 0x41, 0xc0}},
    {"any", Value::any(), {0x0f}},
};

Bytes encoded(const Value &value)
{
    Bytes bytes;
    pensim::encodeValue(value, bytes);
    return bytes;
}

Value decoded(const Bytes &bytes)
{
    std::span<const std::uint8_t> input = bytes;
    const Value value = pensim::decodeValue(input);
    EXPECT_TRUE(input.empty());
    return value;
}

std::size_t missingBytes(const Bytes &bytes)
{
    std::span<const std::uint8_t> input = bytes;
    try {
        pensim::decodeRequest(input);
    } catch (const pensim::TruncatedInput &truncated) {
        return truncated.missing();
    }
    return 0;
}

TEST(PensimCodec, EncodesEveryType)
{
    for (const CodecCase &example : kCodecCases)
        EXPECT_EQ(encoded(example.value), example.bytes) << example.name;
}

TEST(PensimCodec, DecodesEveryType)
{
    for (const CodecCase &example : kCodecCases)
        EXPECT_EQ(decoded(example.bytes), example.value) << example.name;
}

TEST(PensimCodec, InputThatEndsEarlyIsTruncated)
{
    for (const CodecCase &example : kCodecCases) {
        for (std::size_t length = 0; length < example.bytes.size(); ++length) {
            std::span<const std::uint8_t> input(example.bytes.data(), length);
            EXPECT_THROW(pensim::decodeValue(input), pensim::TruncatedInput) << example.name << " " << length;
        }
    }
}

TEST(PensimCodec, UnknownTypeIsMalformed)
{
    for (const std::uint8_t type : Bytes{0x0c, 0x0d, 0x10, 0xff})
        EXPECT_THROW(decoded({type}), pensim::MalformedInput);
}

TEST(PensimCodec, BadEscapeIsMalformed)
{
    EXPECT_THROW(decoded({0x0e, 0xdb, 0x41, 0xc0}), pensim::MalformedInput);
}

TEST(PensimCodec, ArraysNestedTooDeepAreMalformed)
{
    EXPECT_THROW(decoded(Bytes(1000, 0x0a)), pensim::MalformedInput);
}

TEST(PensimCodec, RequestIsCodeCountAndIndexedArguments)
{
    const Bytes frame = {0x52, 0x31, 0x53, 0x50,             // R1SP
                         0x02,                               // two arguments
                         0x00, 0x03, 0x22, 0x07,             // 0: short16 0x2207
                         0x01, 0x04, 0x00, 0x00, 0x00, 0x3c, // 1: int32 60
                         0xaa};                              // the next request
    std::span<const std::uint8_t> input = frame;
    const pensim::Request request = pensim::decodeRequest(input);
    EXPECT_EQ(request.code, pensim::instruction::setProperty);
    ASSERT_EQ(request.arguments.size(), 2u);
    EXPECT_EQ(request.argument(0), Value::short16(0x2207));
    EXPECT_EQ(request.argument(1), Value::int32(60));
    EXPECT_EQ(request.argument(2), Value::null());
    EXPECT_EQ(request.arguments[1].raw, (Bytes{0x04, 0x00, 0x00, 0x00, 0x3c}));
    EXPECT_EQ(request.raw, Bytes(frame.begin(), frame.end() - 1));
    EXPECT_EQ(input.size(), 1u);
}

TEST(PensimCodec, TruncatedRequestTellsHowMuchIsMissing)
{
    const Bytes download = {0x56, 0x30, 0x30, 0x33,       // V003
                            0x01,                         // one argument
                            0x00,                         // 0:
                            0x07, 0x00, 0x01, 0x00, 0x00, // binary of 65,536 bytes
                            0x01, 0x02};                  // the first two
    EXPECT_EQ(missingBytes(download), 65534u);
    EXPECT_EQ(missingBytes({0x52}), 3u);
}

TEST(PensimCodec, ResponseIsAnArrayOfStatusAndResult)
{
    Bytes bytes;
    pensim::encodeResponse(-9003, std::nullopt, bytes);
    EXPECT_EQ(bytes, (Bytes{0x08, 0x00, 0x01,                // array of one
                            0x04, 0xff, 0xff, 0xdc, 0xd5})); // -9003
    bytes.clear();
    pensim::encodeResponse(0, Value::short16(0x0502), bytes);
    EXPECT_EQ(bytes, (Bytes{0x08, 0x00, 0x02,             // array of two
                            0x04, 0x00, 0x00, 0x00, 0x00, // 0
                            0x03, 0x05, 0x02}));          // the result
}

TEST(PensimValue, LogTextShortensWhatIsLong)
{
    EXPECT_EQ(Value::int32(7).toLogText(), "int32 7");
    EXPECT_EQ(Value::string("a").toLogText(), "\"a\"");
    EXPECT_EQ(Value::array({Value::null(), Value::boolean(true)}).toLogText(), "[null, bool 1]");
    EXPECT_EQ(Value::binary(Bytes(17, 0xab)).toLogText(),
              "binary ab ab ab ab ab ab ab ab ab ab ab ab ab ab ab ab .. (17 bytes)");
}

} // namespace
