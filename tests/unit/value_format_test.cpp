#include "protocol/values/value_format.h"

#include "protocol/values/value_decoder.h"
#include "support/byte_stream.h"
#include "support/log_capture.h"
#include "support/value_tree.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>

using namespace zel;
using namespace zel::test;

namespace {

using Build = std::function<Value()>;

struct GoldenCase {
    const char *name;
    Bytes bytes;
    Build build;
};

Bytes encoded(const Value &value)
{
    std::ostringstream stream;
    ProtocolOutputStream out(stream);
    ValueFormatV1_0().encode(out, value);
    return bytesOf(stream);
}

Value decoded(const Bytes &bytes, std::uint16_t headerLength = VALUE_HEADER_LENGTH)
{
    std::istringstream stream = streamOf(bytes);
    ProtocolInputStream in(stream);
    return ValueFormatV1_0(headerLength).decode(in);
}

Value decodedTrickling(const Bytes &bytes, std::size_t step)
{
    TrickleStream stream(bytes, step);
    ProtocolInputStream in(stream, stream.buffer());
    return ValueFormatV1_0().decode(in);
}

template <class Exception>
std::string textOfThrown(const std::function<void()> &action)
{
    try {
        action();
    } catch (const Exception &exception) {
        EXPECT_EQ(typeid(exception), typeid(Exception));
        return exception.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

const std::string kLongText = "a text of more than twenty-four bytes";

// Both directions are checked against these bytes.
const std::vector<GoldenCase> kGolden = {
    {"Null", {0x00}, [] { return Value::createNull(); }},
    {"BoolTrue",
     {0x01,  // type: bool
      0x01}, // payload
     [] { return Value::createBool(true); }},
    {"BoolFalse", {0x01, 0x00}, [] { return Value::createBool(false); }},
    {"Byte",
     {0x02,  // type: byte
      0xFE}, // payload
     [] { return Value::createByte(0xFE); }},
    {"Short16",
     {0x03,        // type: short16
      0x12, 0x34}, // big-endian payload
     [] { return Value::createShort(0x1234); }},
    {"Int32Seven",
     {0x04,                    // type: int32
      0x00, 0x00, 0x00, 0x07}, // big-endian payload
     [] { return Value::createInt(7); }},
    {"Int32AllBytes", {0x04, 0x89, 0xAB, 0xCD, 0xEF}, [] { return Value::createInt(0x89ABCDEF); }},
    {"Long64",
     {0x05,                                            // type: long64
      0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}, // big-endian payload
     [] { return Value::createLong(0x0123456789ABCDEF); }},
    {"StringAbc",
     {0x06,                    // type: string
      0x00, 0x04,              // length with the closing zero
      0x61, 0x62, 0x63, 0x00}, // text and zero
     [] { return Value::createString("abc"); }},
    {"StringEmpty", {0x06, 0x00, 0x01, 0x00}, [] { return Value::createString(""); }},
    {"StringLong",
     Bytes{0x06,       // type: string
           0x00, 0x26} // length with the closing zero: 38
         + wire::raw("a text of more than twenty-four bytes") + Bytes{0x00},
     [] { return Value::createString(kLongText); }},
    {"BinaryThreeBytes",
     {0x07,                   // type: binary
      0x00, 0x00, 0x00, 0x03, // length
      0x01, 0x02, 0x03},      // bytes
     [] {
         return binaryOf({1, 2, 3});
     }},
    {"BinaryEmpty", {0x07, 0x00, 0x00, 0x00, 0x00}, [] { return binaryOf({}); }},
    {"BinaryLong",
     Bytes{0x07,                   // type: binary
           0x00, 0x00, 0x01, 0x00} // length: 256
         + Bytes(256, 0x5A),
     [] { return binaryOf(Bytes(256, 0x5A)); }},
    {"ValueArray",
     {0x08,                         // type: value array
      0x00, 0x02,                   // count
      0x04, 0x00, 0x00, 0x00, 0x00, // int32 0
      0x01, 0x01},                  // bool true
     [] { return valueArray(Value::createInt(0), Value::createBool(true)); }},
    {"ValueArrayEmpty", {0x08, 0x00, 0x00}, [] { return valueArray(); }},
    {"DataArray",
     {0x09,        // type: data array
      0x00, 0x02,  // count
      0x03,        // element type: short16
      0x00, 0x01,  // first body
      0xFF, 0xFF}, // second body
     [] { return Value::createDataArray(elements(Value::createShort(1), Value::createShort(0xFFFF)), 3); }},
    {"DataArrayEmpty",
     {0x09,       // type: data array
      0x00, 0x00, // count
      0x00},      // element type: null
     [] { return Value::createDataArray({}, 0); }},
    {"DataArrayOfNulls",
     {0x09, 0x00, 0x02, 0x00},
     [] { return Value::createDataArray(elements(Value::createNull(), Value::createNull()), 0); }},
    {"DataArrayOfTerminators",
     {0x09, 0x00, 0x01, 0x0B},
     [] { return Value::createDataArray(elements(Value::createTerminator()), 11); }},
    {"DataArrayOfStrings",
     {0x09,                    // type: data array
      0x00, 0x01,              // count
      0x06,                    // element type: string
      0x00, 0x02, 0x61, 0x00}, // body: length, text, zero
     [] { return Value::createDataArray(elements(Value::createString("a")), 6); }},
    {"DataArrayOfDataArrays",
     {0x09,       // type: data array
      0x00, 0x01, // count
      0x09,       // element type: data array
      0x00, 0x01, // body: count
      0x02,       // body: element type: byte
      0x7F},      // body: the byte
     [] {
         auto inner = Value::createDataArray(elements(Value::createByte(0x7F)), 2);
         return Value::createDataArray(elements(std::move(inner)), 9);
     }},
    {"TerminatedArray",
     {0x0A,                         // type: terminated array
      0x04, 0x00, 0x00, 0x00, 0x05, // int32 5
      0x0B},                        // terminator
     [] { return Value::createTerminatedArray(elements(Value::createInt(5))); }},
    {"TerminatedArrayEmpty", {0x0A, 0x0B}, [] { return Value::createTerminatedArray({}); }},
    {"Terminator", {0x0B}, [] { return Value::createTerminator(); }},
    {"EscapedBinary",
     {0x0E,       // type: escaped binary
      0xDB, 0xDC, // C0
      0xDB, 0xDD, // DB
      0x41,       // 41
      0xC0},      // end
     [] {
         return escapedBinaryOf({0xC0, 0xDB, 0x41});
     }},
    {"EscapedBinaryEmpty", {0x0E, 0xC0}, [] { return escapedBinaryOf({}); }},
    {"EscapedBinaryLong", Bytes{0x0E} + Bytes(40, 0x11) + Bytes{0xDB, 0xDC} + Bytes(40, 0x22) + Bytes{0xC0},
     [] { return escapedBinaryOf(Bytes(40, 0x11) + Bytes{0xC0} + Bytes(40, 0x22)); }},
};

class GoldenBytes : public testing::TestWithParam<GoldenCase>
{
};

} // namespace

INSTANTIATE_TEST_SUITE_P(ValueFormat, GoldenBytes, testing::ValuesIn(kGolden),
                         [](const auto &tested) { return tested.param.name; });

TEST_P(GoldenBytes, ValueEncodesToThem)
{
    EXPECT_EQ(encoded(GetParam().build()), GetParam().bytes);
}

TEST_P(GoldenBytes, DecodeToTheValueFromAStream)
{
    EXPECT_TRUE(sameTree(decoded(GetParam().bytes), GetParam().build()));
}

TEST_P(GoldenBytes, DecodeToTheValueFromMemory)
{
    EXPECT_TRUE(sameTree(decodeValue(GetParam().bytes), GetParam().build()));
}

TEST_P(GoldenBytes, DecodeToTheValueHoweverTheyTrickleIn)
{
    for (std::size_t step = 1; step <= 9; ++step)
        EXPECT_TRUE(sameTree(decodedTrickling(GetParam().bytes, step), GetParam().build())) << step;
}

// On a socket a byte too many is a wait for ever, and the next answer starts right behind this one.
TEST_P(GoldenBytes, AreAllThatDecodingTakes)
{
    for (std::size_t step = 1; step <= 4; ++step) {
        TrickleStream exact(GetParam().bytes, step);
        ProtocolInputStream exactIn(exact, exact.buffer());
        ValueFormatV1_0().decode(exactIn);
        EXPECT_EQ(exact.buffer().waits(), 0);

        TrickleStream followed(GetParam().bytes + Bytes{0x2A, 0x2B}, step);
        ProtocolInputStream followedIn(followed, followed.buffer());
        ValueFormatV1_0().decode(followedIn);
        EXPECT_EQ(followedIn.readShort(), 0x2A2B);
    }
}

TEST_P(GoldenBytes, CutAnywhereThrowIOException)
{
    const Bytes &whole = GetParam().bytes;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_THROW(decoded(part), IOException) << length;
        EXPECT_THROW(decodeValue(part), IOException) << length;
        EXPECT_THROW(decodedTrickling(part, 3), IOException) << length;
        EXPECT_FALSE(ValueFormatV1_0().isValidEncoding(part.data(), static_cast<std::int32_t>(length)));
    }
}

TEST_P(GoldenBytes, AreAValidEncodingWithOrWithoutMoreBehindThem)
{
    const Bytes &bytes = GetParam().bytes;
    const Bytes longer = bytes + Bytes{0xFF};
    EXPECT_TRUE(ValueFormatV1_0().isValidEncoding(bytes.data(), static_cast<std::int32_t>(bytes.size())));
    EXPECT_TRUE(ValueFormatV1_0().isValidEncoding(longer.data(), static_cast<std::int32_t>(longer.size())));
}

TEST(ValueFormat, AnyNonZeroByteDecodesToTrue)
{
    EXPECT_TRUE(decoded({0x01, 0x80}).getBool());
}

TEST(ValueFormat, TextsAndBinariesOfEveryShortLengthAreEncodedByteForByte)
{
    const std::string letters = "abcdefghijklmnopqrstuvwxyz";
    for (std::size_t length = 0; length <= letters.size(); ++length) {
        const std::string text = letters.substr(0, length);
        const auto count = static_cast<std::uint8_t>(length);
        const auto countWithZero = static_cast<std::uint8_t>(length + 1);

        Bytes asString{6, 0, countWithZero};
        asString.insert(asString.end(), text.begin(), text.end());
        asString.push_back(0);
        EXPECT_EQ(encoded(Value::createString(text)), asString);

        Bytes asBinary{7, 0, 0, 0, count};
        asBinary.insert(asBinary.end(), text.begin(), text.end());
        EXPECT_EQ(encoded(Value::createBinary(reinterpret_cast<const std::uint8_t *>(text.data()), count)),
                  asBinary);
    }
}

TEST(ValueFormat, EncodingATextOf65535BytesCutsItsLengthTo16Bits)
{
    const Bytes bytes = encoded(Value::createString(std::string(65535, 'x')));
    ASSERT_EQ(bytes.size(), 1u + 2u + 65536u);
    EXPECT_EQ(bytes[1], 0x00);
    EXPECT_EQ(bytes[2], 0x00);
    EXPECT_EQ(bytes[3], 'x');
    EXPECT_EQ(bytes.back(), 0x00);
}

TEST(ValueFormat, StringEndsAtItsFirstZeroByte)
{
    const auto value = decoded({0x06, 0x00, 0x05, 0x61, 0x62, 0x00, 0x63, 0x00});
    EXPECT_EQ(value.textView(), "ab");
}

TEST(ValueFormat, StringWithoutAZeroByteIsItsWholeBody)
{
    EXPECT_EQ(decoded({0x06, 0x00, 0x02, 0x61, 0x62}).textView(), "ab");
    EXPECT_EQ(decodedTrickling({0x06, 0x00, 0x02, 0x61, 0x62}, 1).textView(), "ab");
    EXPECT_EQ(decoded({0x06, 0x00, 0x00}).textView(), "");
}

TEST(ValueFormat, TextWithAZeroInsideIsSentWhole)
{
    EXPECT_EQ(encoded(Value::createString(std::string_view("a\0b", 3))),
              (Bytes{0x06, 0x00, 0x04, 0x61, 0x00, 0x62, 0x00}));
}

// Nothing checks that the elements agree: each keeps the body of its own type.
TEST(ValueFormat, DataArrayTakesItsElementTypeFromTheFirstElement)
{
    const auto mixed = Value::createDataArray(elements(Value::createByte(1), Value::createShort(2)), 4);
    EXPECT_EQ(encoded(mixed), (Bytes{0x09, 0x00, 0x02, 0x02, 0x01, 0x00, 0x02}));
}

TEST(ValueFormat, EmptyDataArrayIsEncodedAsOneOfNulls)
{
    EXPECT_EQ(encoded(Value::createDataArray({}, 4)), (Bytes{0x09, 0x00, 0x00, 0x00}));
}

TEST(ValueFormat, EmptyDataArrayOfAnUnknownTypeKeepsIt)
{
    EXPECT_EQ(decoded({0x09, 0x00, 0x00, 0x0C}).getElementType(), 0x0Cu);
}

TEST(ValueFormat, AnyTypeDecodesToNoValueAndConsumesOneByte)
{
    std::istringstream stream = streamOf({0x0F, 0x02, 0x07});
    ProtocolInputStream in(stream);
    EXPECT_TRUE(ValueFormatV1_0().decode(in).isAbsent());
    EXPECT_EQ(ValueFormatV1_0().decode(in).getByte(), 7);
}

TEST(ValueFormat, AnyTypeInsideAnArrayStandsAsAnAbsentElement)
{
    const auto array = decoded({0x08, 0x00, 0x02, 0x0F, 0x01, 0x01});
    ASSERT_EQ(array.getArray().size(), 2u);
    EXPECT_TRUE(array.getArray()[0].isAbsent());
    EXPECT_TRUE(array.getArray()[1].getBool());
    EXPECT_EQ(decoded({0x09, 0x00, 0x03, 0x0F}).getArray().size(), 3u);
}

TEST(ValueFormat, AnyTypeClosesATerminatedArray)
{
    const auto array = decoded({0x0A, 0x01, 0x01, 0x0F});
    ASSERT_EQ(array.getArray().size(), 1u);
    EXPECT_TRUE(array.getArray()[0].getBool());
}

TEST(ValueFormat, AnyTypeValueEncodesToItsCodeAlone)
{
    EXPECT_EQ(encoded(Value::createBare(ValueType::AnyType)), (Bytes{0x0F}));
}

TEST(ValueFormat, DecodingAnUnknownTypeIsLoggedAndThrows)
{
    for (const std::uint8_t type : Bytes{0x0C, 0x0D, 0x10, 0xFF}) {
        LogCapture log;
        EXPECT_EQ(textOfThrown<ZELException>([&] { decoded({type}); }), "");
        EXPECT_TRUE(log.contains(LogLevel::Error,
                                 "ValueFormatV1_0::decode - Unknown value type: " + std::to_string(type)));
    }
}

TEST(ValueFormat, UnknownTypeInsideAnArrayThrows)
{
    EXPECT_THROW(decoded({0x08, 0x00, 0x02, 0x00, 0x0C}), ZELException);
    EXPECT_THROW(decoded({0x09, 0x00, 0x01, 0x0D}), ZELException);
    EXPECT_THROW(decoded({0x0A, 0x00, 0x10}), ZELException);
}

TEST(ValueFormat, EncodingAnUnknownTypeIsLoggedAndThrows)
{
    for (const std::uint32_t type : {12u, 13u, 16u}) {
        LogCapture log;
        const auto value = Value::createBare(static_cast<ValueType>(type));
        EXPECT_EQ(textOfThrown<ZELException>([&] { encoded(value); }), "");
        EXPECT_TRUE(log.contains(LogLevel::Error,
                                 "ValueFormatV1_0::encode - Unknown value type: " + std::to_string(type)));
    }
}

TEST(ValueFormat, EncodingAnAbsentElementThrowsBeforeAnythingIsWritten)
{
    for (const bool typed : {false, true}) {
        ValueList list = elements(Value::createByte(1));
        list.emplace_back();
        const auto array = typed ? Value::createDataArray(std::move(list), 2)
                                 : Value::createTerminatedArray(std::move(list));
        std::ostringstream stream;
        ProtocolOutputStream out(stream);
        EXPECT_THROW(ValueFormatV1_0().encode(out, array), ZELException);
        EXPECT_EQ(stream.str(), "");
    }
}

TEST(ValueFormat, BadEscapeIsLoggedAndThrows)
{
    for (std::size_t step = 1; step <= 4; ++step) {
        LogCapture log;
        EXPECT_EQ(textOfThrown<ZELException>([&] { decodedTrickling({0x0E, 0xDB, 0x41, 0xC0}, step); }), "");
        EXPECT_TRUE(log.contains(LogLevel::Error,
                                 "ValueFormatV1_0::decode - invalid escape sequence in escaped binary"));
    }
    EXPECT_THROW(decodeValue(Bytes{0x0E, 0xDB, 0xC0}), ZELException);
    EXPECT_THROW(decodeValue(Bytes{0x0E, 0xDB, 0xDB, 0xC0}), ZELException);
}

TEST(ValueFormat, EscapedBinaryThatNeverEndsThrowsIOException)
{
    EXPECT_EQ(textOfThrown<IOException>([] { decodeValue(Bytes{0x0E} + Bytes(100, 0x41)); }),
              "ProtocolInputStream::read - failed reading 1 bytes");
}

TEST(ValueFormat, EveryByteButTheTwoStandsForItselfInAnEscapedBinary)
{
    Bytes data;
    for (int byte = 0; byte < 256; ++byte)
        if (byte != 0xC0 && byte != 0xDB)
            data.push_back(static_cast<std::uint8_t>(byte));
    const Bytes bytes = Bytes{0x0E} + data + Bytes{0xC0};
    EXPECT_EQ(encoded(escapedBinaryOf(data)), bytes);
    EXPECT_TRUE(sameTree(decoded(bytes), escapedBinaryOf(data)));
}

TEST(ValueFormat, ShortInputNamesTheBytesThatWereAskedFor)
{
    EXPECT_EQ(textOfThrown<IOException>([] {
                  decoded({0x05, 0x00});
              }),
              "ProtocolInputStream::read - failed reading 8 bytes");
    EXPECT_EQ(textOfThrown<IOException>([] {
                  decodeValue(Bytes{0x05, 0x00});
              }),
              "ProtocolInputStream::read - failed reading 8 bytes");
    EXPECT_EQ(textOfThrown<IOException>([] {
                  decoded({0x07, 0x00, 0x00, 0x01, 0x00, 0x41});
              }),
              "ProtocolInputStream::read - failed reading 256 bytes");
}

TEST(ValueFormat, LongerHeaderIsSkippedBehindEachTypeCode)
{
    const auto array = decoded(
        {
            0x08, 0xEE, 0xEE,             // value array, two header bytes more
            0x00, 0x02,                   // count
            0x02, 0xEE, 0xEE, 0x07,       // byte 7
            0x09, 0xEE, 0xEE, 0x00, 0x01, // data array of one
            0x02, 0xEE, 0xEE,             // element type, header bytes behind it too
            0x09,                         // its body
        },
        3);
    EXPECT_EQ(array.getArray()[0].getByte(), 7);
    EXPECT_EQ(array.getArray()[1].getArray()[0].getByte(), 9);
}

TEST(ValueFormat, EncodingNeverWritesHeaderBytes)
{
    std::ostringstream stream;
    ProtocolOutputStream out(stream);
    ValueFormatV1_0(5).encode(out, Value::createByte(7));
    EXPECT_EQ(bytesOf(stream), (Bytes{0x02, 0x07}));
}

TEST(ValueFormat, HeaderOfNoLengthCannotBeSkipped)
{
    EXPECT_EQ(textOfThrown<IOException>([] {
                  decoded({0x02, 0x07}, 0);
              }),
              "ProtocolInputStream::skipBytes - failed skipping -1 bytes");
}

TEST(ValueFormat, HeaderBeyondTheInputFailsAtTheNextRead)
{
    EXPECT_THROW(decoded({0x02, 0x07}, 9), IOException);
    EXPECT_EQ(decoded({0x00}, 9).getType(), ValueType::Null);
    const Bytes bytes = {0x02, 0x07};
    EXPECT_FALSE(ValueFormatV1_0(9).isValidEncoding(bytes.data(), 2));
}

TEST(ValueFormat, NegativeLengthIsNoValidEncoding)
{
    const Bytes bytes = {0x00};
    EXPECT_FALSE(ValueFormatV1_0().isValidEncoding(bytes.data(), -1));
}

TEST(ValueFormat, FailedStreamGivesNothingAlthoughItHoldsBytes)
{
    std::istringstream stream = streamOf({0x02, 0x07});
    stream.setstate(std::ios::failbit);
    ProtocolInputStream in(stream);
    EXPECT_THROW(ValueFormatV1_0().decode(in), IOException);
}

TEST(ValueFormat, FailedOutputStreamThrowsIOException)
{
    std::ostringstream stream;
    stream.setstate(std::ios::badbit);
    ProtocolOutputStream out(stream);
    EXPECT_EQ(textOfThrown<IOException>([&] { ValueFormatV1_0().encode(out, Value::createByte(7)); }),
              "ProtocolOutputStream::write - IOException");
}

TEST(ValueFormat, BodiesStandWithoutTheTypeCode)
{
    ValueFormatV1_0 format;
    std::ostringstream written;
    ProtocolOutputStream out(written);
    format.encodeBody(out, Value::createShort(0x0102));
    format.encodeBody(out, Value::createString("a"));
    EXPECT_EQ(bytesOf(written), (Bytes{0x01, 0x02, 0x00, 0x02, 0x61, 0x00}));

    std::istringstream stream = streamOf({
        0x01, 0x02, // short16
        0x02, 0x01, // a value array's only element
        0x05,       // a data array's only byte
        0x00, 0x0B, // a terminated array's null and its terminator
        0x41, 0xC0, // an escaped binary
    });
    ProtocolInputStream in(stream);
    EXPECT_EQ(format.decodeBody(in, 3).getShort(), 0x0102);
    EXPECT_EQ(format.decodeValueArray(in, 1).getArray()[0].getByte(), 1);
    EXPECT_EQ(format.decodeDataArray(in, 1, 2).getArray()[0].getByte(), 5);
    EXPECT_EQ(format.decodeTerminatedArray(in).getArray().size(), 1u);
    EXPECT_EQ(format.decodeEscapedBinary(in).bytesView()[0], 0x41);
    EXPECT_TRUE(in.isAtEnd());
}

namespace {

struct CountCase {
    const char *name;
    Bytes bytes;
    std::uint32_t count;
};

const std::vector<CountCase> kCounts = {
    {"Null", {0x00}, 1},
    {"Bool", {0x01, 0x01}, 2},
    {"Byte", {0x02, 0x01}, 2},
    {"Short16", {0x03, 0x00, 0x01}, 3},
    {"Int32", {0x04, 0x00, 0x00, 0x00, 0x01}, 5},
    {"Long64", {0x05, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x07}, 9},
    {"String", {0x06, 0x00, 0x02, 0x61, 0x00}, 5},
    {"StringWithAnEarlyZero", {0x06, 0x00, 0x03, 0x00, 0x61, 0x00}, 6},
    {"Binary", {0x07, 0x00, 0x00, 0x00, 0x02, 0x61, 0x00}, 7},
};

class ByteCount : public testing::TestWithParam<CountCase>
{
};

} // namespace

INSTANTIATE_TEST_SUITE_P(ValueFormat, ByteCount, testing::ValuesIn(kCounts),
                         [](const auto &tested) { return tested.param.name; });

TEST_P(ByteCount, IsHeaderAndBodyWhateverFollows)
{
    const Bytes bytes = GetParam().bytes + Bytes{0xFF, 0xFF};
    std::uint32_t count = 0;
    EXPECT_TRUE(
        ValueFormatV1_0().decodeAndCountBytes(bytes.data(), static_cast<std::int32_t>(bytes.size()), &count));
    EXPECT_EQ(count, GetParam().count);
}

TEST_P(ByteCount, ComesWithTheValueFromAStream)
{
    for (const std::size_t step : {1u, 2u, 3u, 4u, 100u}) {
        TrickleStream stream(GetParam().bytes, step);
        ProtocolInputStream in(stream, stream.buffer());
        std::uint32_t count = 0;
        const auto value = ValueFormatV1_0().decodeAndCountBytes(in, &count);
        EXPECT_TRUE(sameTree(value, decodeValue(GetParam().bytes)));
        EXPECT_EQ(count, GetParam().count) << "in steps of " << step;
        EXPECT_EQ(stream.buffer().left(), 0u);
    }
}

TEST_P(ByteCount, OfCutInputIsNone)
{
    for (std::size_t length = 0; length < GetParam().bytes.size(); ++length) {
        std::uint32_t count = 0;
        EXPECT_FALSE(ValueFormatV1_0().decodeAndCountBytes(GetParam().bytes.data(),
                                                           static_cast<std::int32_t>(length), &count));
        EXPECT_EQ(count, 0xFFFFFFFFu);
    }
}

TEST(ValueFormat, CountIncludesALongerHeader)
{
    const Bytes bytes = {0x02, 0xEE, 0xEE, 0x07};
    std::uint32_t count = 0;
    EXPECT_TRUE(ValueFormatV1_0(3).decodeAndCountBytes(bytes.data(), 4, &count));
    EXPECT_EQ(count, 4u);

    TrickleStream stream(bytes, 1);
    ProtocolInputStream in(stream, stream.buffer());
    count = 0;
    EXPECT_EQ(ValueFormatV1_0(3).decodeAndCountBytes(in, &count).getByte(), 7);
    EXPECT_EQ(count, 4u);
}

TEST(ValueFormat, OtherTypesCannotBeCounted)
{
    for (const Bytes &bytes : {Bytes{0x08, 0x00, 0x00}, Bytes{0x09, 0x00, 0x00, 0x00}, Bytes{0x0A, 0x0B},
                               Bytes{0x0B}, Bytes{0x0E, 0xC0}, Bytes{0x0C}, Bytes{0x10}}) {
        std::uint32_t count = 0;
        EXPECT_FALSE(ValueFormatV1_0().decodeAndCountBytes(bytes.data(),
                                                           static_cast<std::int32_t>(bytes.size()), &count));
        EXPECT_EQ(count, 0xFFFFFFFFu);

        LogCapture log;
        std::istringstream stream = streamOf(bytes);
        ProtocolInputStream in(stream);
        count = 0;
        EXPECT_EQ(textOfThrown<ZELException>([&] { ValueFormatV1_0().decodeAndCountBytes(in, &count); }), "");
        EXPECT_EQ(count, 0xFFFFFFFFu);
        EXPECT_TRUE(
            log.contains(LogLevel::Error, "ValueFormatV1_0::decodeAndCountBytes - Unknown value type: " +
                                              std::to_string(bytes[0])));
    }
}

TEST(ValueFormat, CountOfAnyTypeStaysAsItWas)
{
    const Bytes bytes = {0x0F};
    std::istringstream stream = streamOf(bytes);
    ProtocolInputStream in(stream);
    std::uint32_t count = 42;
    EXPECT_TRUE(ValueFormatV1_0().decodeAndCountBytes(in, &count).isAbsent());
    EXPECT_EQ(count, 42u);
    EXPECT_FALSE(ValueFormatV1_0().decodeAndCountBytes(bytes.data(), 1, &count));
    EXPECT_EQ(count, 0xFFFFFFFFu);
}
