#include "wire_codec.h"

#include <algorithm>

namespace pensim {

namespace {

constexpr std::uint8_t kSlipEnd = 0xc0;
constexpr std::uint8_t kSlipEscape = 0xdb;
constexpr std::uint8_t kSlipEscapedEnd = 0xdc;
constexpr std::uint8_t kSlipEscapedEscape = 0xdd;

// Deeper nesting is no request of any host; it would only exhaust the stack.
constexpr int kDeepest = 64;

using Input = std::span<const std::uint8_t>;

void putNumber(std::uint64_t number, int width, Bytes &out)
{
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
        out.push_back(static_cast<std::uint8_t>(number >> shift));
}

Input take(Input &input, std::size_t count)
{
    if (input.size() < count)
        throw TruncatedInput(count - input.size());
    const Input taken = input.first(count);
    input = input.subspan(count);
    return taken;
}

std::uint64_t takeNumber(Input &input, std::size_t width)
{
    std::uint64_t number = 0;
    for (const std::uint8_t byte : take(input, width))
        number = number << 8 | byte;
    return number;
}

std::size_t numberWidth(Type type)
{
    switch (type) {
    case Type::boolean:
    case Type::byte:
        return 1;
    case Type::short16:
        return 2;
    case Type::int32:
        return 4;
    case Type::long64:
        return 8;
    default:
        return 0;
    }
}

void encodeBody(const Value &value, Bytes &out);

void encodeString(const std::string &text, Bytes &out)
{
    putNumber(text.size() + 1, 2, out);
    out.insert(out.end(), text.begin(), text.end());
    out.push_back(0);
}

void encodeEscaped(const Bytes &bytes, Bytes &out)
{
    for (const std::uint8_t byte : bytes) {
        if (byte == kSlipEnd)
            out.insert(out.end(), {kSlipEscape, kSlipEscapedEnd});
        else if (byte == kSlipEscape)
            out.insert(out.end(), {kSlipEscape, kSlipEscapedEscape});
        else
            out.push_back(byte);
    }
    out.push_back(kSlipEnd);
}

void encodeItems(const Value &value, Bytes &out)
{
    if (value.type() != Type::terminatedArray)
        putNumber(value.items().size(), 2, out);
    if (value.type() == Type::dataArray)
        out.push_back(static_cast<std::uint8_t>(value.elementType()));
    for (const Value &item : value.items()) {
        if (value.type() == Type::dataArray)
            encodeBody(item, out);
        else
            encodeValue(item, out);
    }
    if (value.type() == Type::terminatedArray)
        encodeValue(Value::terminator(), out);
}

void encodeBody(const Value &value, Bytes &out)
{
    if (value.isNumber()) {
        putNumber(value.number(), static_cast<int>(numberWidth(value.type())), out);
    } else if (value.isArray()) {
        encodeItems(value, out);
    } else if (value.type() == Type::string) {
        encodeString(value.text(), out);
    } else if (value.type() == Type::binary) {
        putNumber(value.bytes().size(), 4, out);
        out.insert(out.end(), value.bytes().begin(), value.bytes().end());
    } else if (value.type() == Type::escapedBinary) {
        encodeEscaped(value.bytes(), out);
    }
}

Value decodeNested(Input &input, int depth);
Value decodeBody(Input &input, Type type, int depth);

Value decodeString(Input &input)
{
    const Input bytes = take(input, takeNumber(input, 2));
    const auto end = std::find(bytes.begin(), bytes.end(), std::uint8_t{0});
    return Value::string(std::string(bytes.begin(), end));
}

Value decodeBinary(Input &input)
{
    const Input bytes = take(input, takeNumber(input, 4));
    return Value::binary(Bytes(bytes.begin(), bytes.end()));
}

std::uint8_t unescape(std::uint8_t second)
{
    if (second == kSlipEscapedEnd)
        return kSlipEnd;
    if (second == kSlipEscapedEscape)
        return kSlipEscape;
    throw MalformedInput("bad escape in an escaped binary");
}

Value decodeEscaped(Input &input)
{
    Bytes bytes;
    for (;;) {
        const std::uint8_t byte = take(input, 1)[0];
        if (byte == kSlipEnd)
            return Value::escapedBinary(std::move(bytes));
        bytes.push_back(byte == kSlipEscape ? unescape(take(input, 1)[0]) : byte);
    }
}

Value decodeArray(Input &input, int depth)
{
    std::vector<Value> items;
    for (std::uint64_t count = takeNumber(input, 2); count > 0; --count)
        items.push_back(decodeNested(input, depth + 1));
    return Value::array(std::move(items));
}

Value decodeDataArray(Input &input, int depth)
{
    const std::uint64_t count = takeNumber(input, 2);
    const auto elementType = static_cast<Type>(takeNumber(input, 1));
    std::vector<Value> items;
    for (std::uint64_t i = 0; i < count; ++i)
        items.push_back(decodeBody(input, elementType, depth + 1));
    return Value::dataArray(elementType, std::move(items));
}

Value decodeTerminatedArray(Input &input, int depth)
{
    std::vector<Value> items;
    for (;;) {
        Value item = decodeNested(input, depth + 1);
        if (item.type() == Type::terminator || item.type() == Type::any)
            return Value::terminatedArray(std::move(items));
        items.push_back(std::move(item));
    }
}

Value decodeBody(Input &input, Type type, int depth)
{
    if (depth > kDeepest)
        throw MalformedInput("arrays nested too deep");
    switch (type) {
    case Type::null:
        return Value::null();
    case Type::boolean:
        return Value::boolean(takeNumber(input, 1) != 0);
    case Type::byte:
        return Value::byte(static_cast<std::uint8_t>(takeNumber(input, 1)));
    case Type::short16:
        return Value::short16(static_cast<std::uint16_t>(takeNumber(input, 2)));
    case Type::int32:
        return Value::int32(static_cast<std::uint32_t>(takeNumber(input, 4)));
    case Type::long64:
        return Value::long64(takeNumber(input, 8));
    case Type::string:
        return decodeString(input);
    case Type::binary:
        return decodeBinary(input);
    case Type::array:
        return decodeArray(input, depth);
    case Type::dataArray:
        return decodeDataArray(input, depth);
    case Type::terminatedArray:
        return decodeTerminatedArray(input, depth);
    case Type::terminator:
        return Value::terminator();
    case Type::escapedBinary:
        return decodeEscaped(input);
    case Type::any:
        return Value::any();
    }
    throw MalformedInput("unknown value type");
}

Value decodeNested(Input &input, int depth)
{
    const auto type = static_cast<Type>(takeNumber(input, 1));
    return decodeBody(input, type, depth);
}

Argument decodeArgument(Input &input)
{
    Argument argument;
    argument.index = static_cast<std::uint8_t>(takeNumber(input, 1));
    const Input start = input;
    argument.value = decodeValue(input);
    argument.raw.assign(start.begin(), start.end() - static_cast<std::ptrdiff_t>(input.size()));
    return argument;
}

} // namespace

void encodeValue(const Value &value, Bytes &out)
{
    out.push_back(static_cast<std::uint8_t>(value.type()));
    encodeBody(value, out);
}

Value decodeValue(std::span<const std::uint8_t> &input)
{
    return decodeNested(input, 0);
}

Request decodeRequest(std::span<const std::uint8_t> &input)
{
    const Input start = input;
    Request request;
    request.code = static_cast<std::uint32_t>(takeNumber(input, 4));
    for (std::uint64_t count = takeNumber(input, 1); count > 0; --count)
        request.arguments.push_back(decodeArgument(input));
    request.raw.assign(start.begin(), start.end() - static_cast<std::ptrdiff_t>(input.size()));
    return request;
}

void encodeResponse(std::int32_t status, const std::optional<Value> &result, Bytes &out)
{
    out.push_back(static_cast<std::uint8_t>(Type::array));
    putNumber(result ? 2 : 1, 2, out);
    encodeValue(Value::int32(static_cast<std::uint32_t>(status)), out);
    if (result)
        encodeValue(*result, out);
}

} // namespace pensim
