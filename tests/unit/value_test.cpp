#include "protocol/values/value.h"

#include "support/log_capture.h"
#include "support/value_tree.h"
#include "support/wire.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

using namespace zel;
using namespace zel::test;

namespace {

// Around the size up to which contents live inside the value.
constexpr std::uint32_t kSizes[] = {0, 1, 22, 23, 24, 25, 100};

Bytes counting(std::uint32_t size)
{
    Bytes bytes;
    for (std::uint32_t i = 0; i < size; ++i)
        bytes.push_back(static_cast<std::uint8_t>(i + 1));
    return bytes;
}

bool hasBytes(const Value &value, const Bytes &bytes)
{
    return std::ranges::equal(value.bytesView(), bytes);
}

std::vector<Value> oneOfEachType()
{
    std::vector<Value> values;
    values.push_back(Value::createNull());
    values.push_back(Value::createBool(true));
    values.push_back(Value::createByte(0xFE));
    values.push_back(Value::createShort(0xFEDC));
    values.push_back(Value::createInt(0xFEDCBA98));
    values.push_back(Value::createLong(0xFEDCBA9876543210));
    values.push_back(Value::createString("text"));
    values.push_back(binaryOf({1, 2, 3}));
    values.push_back(valueArray(Value::createInt(1), valueArray(Value::createString("deep"))));
    values.push_back(Value::createDataArray(elements(Value::createByte(1)), 2));
    values.push_back(Value::createTerminatedArray(elements(Value::createByte(1))));
    values.push_back(Value::createTerminator());
    values.push_back(escapedBinaryOf({0xC0, 0xDB}));
    return values;
}

/** Calls every accessor; returns how many accept the value. */
int acceptingAccessors(const Value &value)
{
    std::string text;
    const std::vector<std::function<void()>> accessors = {
        [&] { value.getBool(); },          [&] { value.getByte(); },         [&] { value.getShort(); },
        [&] { value.getInt(); },           [&] { value.getLong(); },         [&] { value.getString(text); },
        [&] { value.getBinary(nullptr); }, [&] { value.getBinaryBuffer(); }, [&] { value.getArray(); },
        [&] { value.getElementType(); },
    };
    int accepting = 0;
    for (const auto &accessor : accessors) {
        try {
            accessor();
            ++accepting;
        } catch (const ZELException &exception) {
            EXPECT_STREQ(exception.what(), "");
        }
    }
    return accepting;
}

} // namespace

TEST(Value, TypesHaveTheirNames)
{
    const char *const names[] = {
        "null",           "bool",        "byte",       "short16",          "int32",      "long64",  "string",
        "binary",         "value array", "data array", "terminated array", "terminator", "unknown", "unknown",
        "escaped binary", "any type"};
    for (std::int32_t code = 0; code < 16; ++code)
        EXPECT_STREQ(Value::typeName(code), names[code]);
    EXPECT_STREQ(Value::typeName(16), "unknown");
    EXPECT_STREQ(Value::typeName(-1), "unknown");
}

TEST(Value, ScalarsGiveBackWhatTheyWereMadeOf)
{
    EXPECT_TRUE(Value::createBool(true).getBool());
    EXPECT_FALSE(Value::createBool(false).getBool());
    EXPECT_EQ(Value::createByte(0xFE).getByte(), 0xFE);
    EXPECT_EQ(Value::createShort(0xFEDC).getShort(), 0xFEDC);
    EXPECT_EQ(Value::createInt(0xFEDCBA98).getInt(), 0xFEDCBA98u);
    EXPECT_EQ(Value::createLong(0xFEDCBA9876543210).getLong(), 0xFEDCBA9876543210u);
    EXPECT_EQ(Value::createNull().getType(), ValueType::Null);
    EXPECT_EQ(Value::createTerminator().getType(), ValueType::Terminator);
}

TEST(Value, TextsOfAnyLengthAreKeptWhole)
{
    for (const std::uint32_t size : kSizes) {
        const std::string text(size, 'x');
        std::string out = "before";
        Value::createString(text).getString(out);
        EXPECT_EQ(out, text);
    }
    EXPECT_EQ(Value::createString(std::string_view("a\0b", 3)).textView(), std::string_view("a\0b", 3));
}

TEST(Value, SecretStringIsAString)
{
    for (const std::uint32_t size : kSizes) {
        const std::string text(size, 'x');
        const auto secret = Value::createSecretString(text);
        EXPECT_EQ(secret.getType(), ValueType::String);
        EXPECT_EQ(secret.textView(), text);
        EXPECT_EQ(secret.copy().textView(), text);
    }
}

TEST(Value, SecretBinaryIsABinary)
{
    for (const std::uint32_t size : kSizes) {
        const Bytes bytes = counting(size);
        const auto secret = Value::createSecretBinary(bytes);
        EXPECT_EQ(secret.getType(), ValueType::Binary);
        EXPECT_TRUE(hasBytes(secret, bytes));
    }
}

TEST(Value, EmptyTextHasAnAddress)
{
    EXPECT_NE(Value::createString("").textView().data(), nullptr) << "those who copy it need not ask";
}

TEST(Value, TextThatIsAbsentReadsAsEmpty)
{
    std::string out = "before";
    Value::createBare(ValueType::String).getString(out);
    EXPECT_EQ(out, "");
}

TEST(Value, BytesOfAnyLengthAreKeptWhole)
{
    for (const std::uint32_t size : kSizes) {
        const Bytes bytes = counting(size);
        EXPECT_TRUE(hasBytes(binaryOf(bytes), bytes));
        EXPECT_TRUE(hasBytes(escapedBinaryOf(bytes), bytes));
    }
}

TEST(Value, OwnedBlocksAreTakenOverWithoutCopying)
{
    ByteBlock block = allocateBlock(100);
    const std::uint8_t *const given = block.get();
    EXPECT_EQ(Value::createBinaryOwned(std::move(block), 100).getBinary(nullptr), given);
}

TEST(Value, OwnedBlocksOfAnyLengthAreKeptWhole)
{
    for (const std::uint32_t size : kSizes) {
        const Bytes bytes = counting(size);
        for (const auto create : {Value::createBinaryOwned, Value::createEscapedBinaryOwned}) {
            ByteBlock block = allocateBlock(size);
            std::ranges::copy(bytes, block.get());
            EXPECT_TRUE(hasBytes(create(std::move(block), size), bytes));
        }
    }
}

TEST(Value, EscapedBinaryOfNegativeSizeIsTheNullValue)
{
    const std::uint8_t byte = 0;
    EXPECT_EQ(Value::createEscapedBinary(&byte, -1).getType(), ValueType::Null);
    EXPECT_EQ(Value::createEscapedBinary(nullptr, 0).getType(), ValueType::EscapedBinary);
    EXPECT_TRUE(Value::createEscapedBinary(nullptr, 0).bytesView().empty());
}

TEST(Value, GetBinaryStoresTheSizeWhenAskedFor)
{
    std::uint32_t size = 99;
    const auto binary = binaryOf({1, 2, 3});
    EXPECT_EQ(binary.getBinary(&size)[2], 3);
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(binary.getBinary(nullptr)[0], 1);
    EXPECT_EQ(escapedBinaryOf({7}).getBinary(&size)[0], 7);
    EXPECT_EQ(size, 1u);
}

TEST(Value, BinaryBufferIsACopyWithAClosingZero)
{
    const auto binary = binaryOf({1, 2, 3});
    BinaryBuffer buffer = binary.getBinaryBuffer();
    EXPECT_EQ(buffer.size(), 3u);
    EXPECT_EQ(buffer.data()[2], 3);
    EXPECT_EQ(buffer.data()[3], 0);
    EXPECT_NE(buffer.data(), binary.getBinary(nullptr));
}

TEST(Value, ArraysOwnTheirElementsInOrder)
{
    auto array = valueArray(Value::createByte(1), Value(), Value::createByte(3));
    const Value &view = array;
    ASSERT_EQ(view.getArray().size(), 3u);
    EXPECT_EQ(view.getArray()[0].getByte(), 1);
    EXPECT_TRUE(view.getArray()[1].isAbsent());
    array.getArray().pop_back();
    EXPECT_EQ(view.getArray().size(), 2u);
}

TEST(Value, OnlyTheThreeArrayTypesAreArrays)
{
    for (std::uint32_t code = 0; code < 17; ++code)
        EXPECT_EQ(Value::createBare(static_cast<ValueType>(code)).isArray(), code >= 8 && code <= 10) << code;
}

TEST(Value, AccessorsRefuseOtherTypesWithoutAText)
{
    EXPECT_EQ(acceptingAccessors(Value::createNull()), 0);
    EXPECT_EQ(acceptingAccessors(Value::createTerminator()), 0);
    EXPECT_EQ(acceptingAccessors(Value::createBare(ValueType::AnyType)), 0);
    EXPECT_EQ(acceptingAccessors(Value::createBool(true)), 1);
    EXPECT_EQ(acceptingAccessors(Value::createByte(1)), 1);
    EXPECT_EQ(acceptingAccessors(Value::createShort(1)), 1);
    EXPECT_EQ(acceptingAccessors(Value::createInt(1)), 1);
    EXPECT_EQ(acceptingAccessors(Value::createLong(1)), 1);
    EXPECT_EQ(acceptingAccessors(Value::createString("")), 1);
    EXPECT_EQ(acceptingAccessors(binaryOf({})), 2);
    EXPECT_EQ(acceptingAccessors(escapedBinaryOf({})), 2);
    EXPECT_EQ(acceptingAccessors(valueArray()), 1);
    EXPECT_EQ(acceptingAccessors(Value::createDataArray({}, 2)), 2);
    EXPECT_EQ(acceptingAccessors(Value::createTerminatedArray({})), 1);
    EXPECT_THROW(Value::createNull().getArray(), ZELException);
}

TEST(Value, CopyIsDeepAndEqual)
{
    for (const Value &value : oneOfEachType()) {
        const auto copy = value.copy();
        EXPECT_TRUE(sameTree(copy, value)) << textOf(value);
    }
    const auto binary = binaryOf(counting(100));
    EXPECT_NE(binary.copy().getBinary(nullptr), binary.getBinary(nullptr));
}

TEST(Value, CopyOfADataArrayKeepsTheElementType)
{
    EXPECT_EQ(Value::createDataArray({}, 0x12345).copy().getElementType(), 0x12345u);
}

TEST(Value, CopyOfAnUnknownTypeIsLoggedAndNull)
{
    for (const std::uint32_t code : {12u, 13u, 15u, 16u}) {
        LogCapture log;
        EXPECT_EQ(Value::createBare(static_cast<ValueType>(code)).copy().getType(), ValueType::Null);
        EXPECT_TRUE(log.contains(LogLevel::Error, "Value::copy - unknown type: " + std::to_string(code)));
    }
}

TEST(Value, CopyOfAnAbsentElementIsNull)
{
    LogCapture log;
    EXPECT_EQ(valueArray(Value()).copy().getArray()[0].getType(), ValueType::Null);
    EXPECT_TRUE(log.contains(LogLevel::Error, "Value::copy - unknown type: 15"));
}

TEST(Value, SwapExchangesEverything)
{
    const auto values = oneOfEachType();
    for (const Value &first : values) {
        for (const Value &second : values) {
            auto left = first.copy();
            auto right = second.copy();
            left.swap(right);
            EXPECT_TRUE(sameTree(left, second));
            EXPECT_TRUE(sameTree(right, first));
        }
    }
}

TEST(Value, SwapKeepsLongContents)
{
    auto left = Value::createString(std::string(100, 'x'));
    auto right = binaryOf(counting(50));
    left.swap(right);
    EXPECT_TRUE(hasBytes(left, counting(50)));
    EXPECT_EQ(right.textView(), std::string(100, 'x'));
}

TEST(Value, PackTurnsAValueIntoABinaryOfItsEncoding)
{
    auto value = Value::createInt(5);
    value.pack();
    EXPECT_EQ(value.getType(), ValueType::Binary);
    EXPECT_TRUE(hasBytes(value, {0x04, 0x00, 0x00, 0x00, 0x05}));
}

TEST(Value, PackRefusesWhatHasNoEncodingAndLeavesItAlone)
{
    auto value = valueArray(Value::createByte(1), Value());
    EXPECT_THROW(value.pack(), ZELException);
    EXPECT_EQ(value.getArray().size(), 2u);
}

TEST(Value, UnpackTakesTheContentOfTheEncodedValue)
{
    auto value = binaryOf({0x08, 0x00, 0x01, 0x02, 0x2A});
    value.unpack();
    ASSERT_EQ(value.getType(), ValueType::ValueArray);
    EXPECT_EQ(value.getArray()[0].getByte(), 0x2A);
}

TEST(Value, UnpackOfWhatHoldsNoValueGivesNull)
{
    auto value = binaryOf({0x0F});
    value.unpack();
    EXPECT_EQ(value.getType(), ValueType::Null);
}

TEST(Value, UnpackRefusesEverythingButABinary)
{
    EXPECT_THROW(escapedBinaryOf({0x00}).unpack(), ZELException);
    EXPECT_THROW(Value::createNull().unpack(), ZELException);
}

TEST(Value, UnpackOfBrokenBytesThrowsAndLeavesTheBinary)
{
    auto value = binaryOf({0x04, 0x00});
    EXPECT_THROW(value.unpack(), IOException);
    EXPECT_TRUE(hasBytes(value, {0x04, 0x00}));
}

TEST(Value, OnlyABinaryOfExactlyOneValueIsAnEncodedValue)
{
    EXPECT_TRUE(binaryOf({0x04, 0x00, 0x00, 0x00, 0x05}).isEncodedValue());
    EXPECT_FALSE(binaryOf({0x04, 0x00, 0x00, 0x00, 0x05, 0x00}).isEncodedValue());
    EXPECT_FALSE(binaryOf({0x04, 0x00, 0x00, 0x00}).isEncodedValue());
    EXPECT_FALSE(binaryOf({}).isEncodedValue());
    EXPECT_FALSE(binaryOf({0x0F}).isEncodedValue());
    EXPECT_FALSE(escapedBinaryOf({0x00}).isEncodedValue());
    EXPECT_FALSE(Value::createNull().isEncodedValue());
}
