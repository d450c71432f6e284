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

// The value as the one argument of a request.
Bytes requestWith(const Bytes &value)
{
    Bytes bytes = {0x52, 0x31, 0x53, 0x50, // R1SP
                   0x01,                   // one argument
                   0x00};                  // its index
    bytes.insert(bytes.end(), value.begin(), value.end());
    return bytes;
}

Value decoded(const Bytes &value)
{
    const Bytes bytes = requestWith(value);
    std::span<const std::uint8_t> input = bytes;
    pensim::RequestDecoder decoder;
    EXPECT_TRUE(decoder.take(input));
    EXPECT_TRUE(input.empty());
    return decoder.request().argument(0);
}

Bytes repeated(std::size_t count, const Bytes &bytes)
{
    Bytes all;
    for (; count > 0; --count)
        all.insert(all.end(), bytes.begin(), bytes.end());
    return all;
}

std::string refusal(const Bytes &value)
{
    try {
        decoded(value);
    } catch (const pensim::MalformedInput &error) {
        return error.what();
    }
    return "";
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

TEST(PensimCodec, EveryByteIsTakenOnceHoweverTheyArrive)
{
    for (const CodecCase &example : kCodecCases) {
        const Bytes bytes = requestWith(example.bytes);
        pensim::RequestDecoder decoder;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            std::span<const std::uint8_t> input(&bytes[i], 1);
            EXPECT_EQ(decoder.take(input), i + 1 == bytes.size()) << example.name << " " << i;
            EXPECT_TRUE(input.empty()) << example.name << " " << i; // nothing is left to be read again
        }
        EXPECT_EQ(decoder.request().argument(0), example.value) << example.name;
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
    EXPECT_EQ(refusal(Bytes(1000, 0x0a)), "arrays nested too deep");
    Bytes deepest(64, 0x0a);
    deepest.insert(deepest.end(), 64, 0x0b);
    EXPECT_EQ(refusal(deepest), "");
}

TEST(PensimCodec, RequestOfTooManyValuesIsMalformed)
{
    const Bytes nulls = {0x09,       // data array
                         0xff, 0xff, // 65,535 items
                         0x00};      // that are null and take no byte
    EXPECT_EQ(refusal({nulls}), "");
    Bytes arrays = {0x08, 0x0b, 0xb8}; // array of 3,000
    const Bytes items = repeated(3000, nulls);
    arrays.insert(arrays.end(), items.begin(), items.end());
    EXPECT_EQ(refusal(arrays), "a request of too many values");
    Bytes terminated = {0x0a};
    terminated.insert(terminated.end(), 4000000, 0x00);
    EXPECT_EQ(refusal(terminated), "a request of too many values");
}

TEST(PensimCodec, RequestThatAnnouncesOrHasTooManyBytesIsMalformed)
{
    EXPECT_EQ(refusal({0x07, 0xff, 0xff, 0xff, 0xff}), "a request that is too long"); // 4 GiB to come
    Bytes endless = {0x08, 0x00, 0x02, 0x07,
                     0x00, 0xf0, 0x00, 0x00}; // array of two: 15 MiB, taken in one go,
    endless.insert(endless.end(), 15u << 20, 0x41);
    endless.push_back(0x0e); // and an escaped binary, of which no length tells the end
    endless.insert(endless.end(), 2u << 20, 0x41);
    EXPECT_EQ(refusal(endless), "a request that is too long");
    Bytes large = {0x07, 0x00, 0xf0, 0x00, 0x00}; // 15 MiB
    large.insert(large.end(), 15u << 20, 0x41);
    EXPECT_EQ(refusal(large), "");
}

TEST(PensimCodec, RequestIsCodeCountAndIndexedArguments)
{
    const Bytes frame = {0x52, 0x31, 0x53, 0x50,             // R1SP
                         0x02,                               // two arguments
                         0x00, 0x03, 0x22, 0x07,             // 0: short16 0x2207
                         0x01, 0x04, 0x00, 0x00, 0x00, 0x3c, // 1: int32 60
                         0xaa};                              // the next request
    std::span<const std::uint8_t> input = frame;
    pensim::RequestDecoder decoder;
    ASSERT_TRUE(decoder.take(input));
    const pensim::Request request = decoder.request();
    EXPECT_EQ(request.code, pensim::instruction::setProperty);
    ASSERT_EQ(request.arguments.size(), 2u);
    EXPECT_EQ(request.argument(0), Value::short16(0x2207));
    EXPECT_EQ(request.argument(1), Value::int32(60));
    EXPECT_EQ(request.argument(2), Value::null());
    EXPECT_EQ(input.size(), 1u);
}

TEST(PensimCodec, RequestWithoutArgumentsIsWholeAtOnce)
{
    const Bytes two = {0x55, 0x30, 0x50, 0x49, 0x00,  // U0PI
                       0x55, 0x30, 0x59, 0x42, 0x00}; // U0YB
    std::span<const std::uint8_t> input = two;
    pensim::RequestDecoder decoder;
    ASSERT_TRUE(decoder.take(input));
    EXPECT_EQ(decoder.request().code, pensim::instruction::listPages);
    ASSERT_TRUE(decoder.take(input));
    EXPECT_EQ(decoder.request().code, pensim::instruction::beginSyncSession);
    EXPECT_FALSE(decoder.take(input));
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
