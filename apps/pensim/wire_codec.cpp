#include "wire_codec.h"

#include <algorithm>
#include <utility>

namespace pensim {

namespace {

constexpr std::uint8_t kSlipEnd = 0xc0;
constexpr std::uint8_t kSlipEscape = 0xdb;
constexpr std::uint8_t kSlipEscapedEnd = 0xdc;
constexpr std::uint8_t kSlipEscapedEscape = 0xdd;

using Input = std::span<const std::uint8_t>;

void putNumber(std::uint64_t number, int width, Bytes &out)
{
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
        out.push_back(static_cast<std::uint8_t>(number >> shift));
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

std::uint8_t unescape(std::uint8_t second)
{
    if (second == kSlipEscapedEnd)
        return kSlipEnd;
    if (second == kSlipEscapedEscape)
        return kSlipEscape;
    throw MalformedInput("bad escape in an escaped binary");
}

std::string textOf(const Bytes &bytes)
{
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), std::uint8_t{0})};
}

} // namespace

void encodeValue(const Value &value, Bytes &out)
{
    out.push_back(static_cast<std::uint8_t>(value.type()));
    encodeBody(value, out);
}

void encodeResponse(std::int32_t status, const std::optional<Value> &result, Bytes &out)
{
    out.push_back(static_cast<std::uint8_t>(Type::array));
    putNumber(result ? 2 : 1, 2, out);
    encodeValue(Value::int32(static_cast<std::uint32_t>(status)), out);
    if (result)
        encodeValue(*result, out);
}

bool RequestDecoder::take(std::span<const std::uint8_t> &input)
{
    while (!m_whole) {
        if (m_value)
            deliver();
        else if (fill(input))
            interpret();
        else
            return false;
    }
    return true;
}

Request RequestDecoder::request()
{
    Request request = std::move(m_request);
    *this = RequestDecoder();
    return request;
}

bool RequestDecoder::fill(Input &input)
{
    const Input taken = input.first(std::min(input.size(), m_tokenSize - m_token.size()));
    m_bytes += taken.size();
    if (m_bytes > kLongestRequest)
        throw MalformedInput("a request that is too long");
    m_token.insert(m_token.end(), taken.begin(), taken.end());
    input = input.subspan(taken.size());
    return m_token.size() == m_tokenSize;
}

void RequestDecoder::expect(Step step, std::size_t size)
{
    m_step = step;
    m_tokenSize = size;
    m_token.clear();
}

std::uint64_t RequestDecoder::number(std::size_t size) const
{
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < size; ++i)
        number = number << 8 | m_token[i];
    return number;
}

void RequestDecoder::interpret()
{
    switch (m_step) {
    case Step::header:
        m_request.code = static_cast<std::uint32_t>(number(4));
        m_argumentsLeft = m_token[4];
        expectIndex();
        break;
    case Step::index:
        m_request.arguments.push_back({m_token[0], {}});
        expect(Step::type, 1);
        break;
    case Step::type:
        begin(static_cast<Type>(m_token[0]));
        break;
    case Step::number:
        finish(Value::ofNumber(m_type, number(m_tokenSize)));
        break;
    case Step::length:
        beginContent();
        break;
    case Step::content:
        finish(m_type == Type::string ? Value::string(textOf(m_token)) : Value::binary(std::move(m_token)));
        break;
    case Step::escaped:
    case Step::escape:
        takeEscaped(m_token[0]);
        break;
    }
}

void RequestDecoder::expectIndex()
{
    m_whole = m_argumentsLeft == 0;
    expect(Step::index, 1);
}

void RequestDecoder::begin(Type type)
{
    m_type = type;
    switch (type) {
    case Type::null:
    case Type::terminator:
    case Type::any:
        finish(Value::ofNumber(type, 0));
        break;
    case Type::boolean:
    case Type::byte:
    case Type::short16:
    case Type::int32:
    case Type::long64:
        expect(Step::number, numberWidth(type));
        break;
    case Type::string:
    case Type::array:
        expect(Step::length, 2);
        break;
    case Type::dataArray:
        expect(Step::length, 3); // with the type of the elements
        break;
    case Type::binary:
        expect(Step::length, 4);
        break;
    case Type::terminatedArray:
        push(type, Type::null, 1);
        break;
    case Type::escapedBinary:
        expect(Step::escaped, 1);
        break;
    default:
        throw MalformedInput("unknown value type");
    }
}

void RequestDecoder::beginContent()
{
    if (m_type == Type::array) {
        push(m_type, Type::null, number(2));
    } else if (m_type == Type::dataArray) {
        push(m_type, static_cast<Type>(m_token[2]), number(2));
    } else {
        if (number(m_tokenSize) > kLongestRequest)
            throw MalformedInput("a request that is too long");
        expect(Step::content, number(m_tokenSize));
    }
}

void RequestDecoder::push(Type type, Type elementType, std::size_t count)
{
    if (m_levels.size() == kDeepestValue)
        throw MalformedInput("arrays nested too deep");
    m_levels.push_back({type, elementType, count, {}});
    continueLevel();
}

void RequestDecoder::continueLevel()
{
    Level &level = m_levels.back();
    if (level.left == 0) {
        const Type type = level.type;
        std::vector<Value> items = std::move(level.items);
        const Type elementType = level.elementType;
        m_levels.pop_back();
        if (type == Type::dataArray)
            finish(Value::dataArray(elementType, std::move(items)));
        else if (type == Type::array)
            finish(Value::array(std::move(items)));
        else
            finish(Value::terminatedArray(std::move(items)));
    } else if (level.type == Type::dataArray) {
        begin(level.elementType);
    } else {
        expect(Step::type, 1);
    }
}

void RequestDecoder::finish(Value value)
{
    if (++m_values > kMostValues)
        throw MalformedInput("a request of too many values");
    m_value = std::move(value);
}

// The loop in take() delivers values. If each value delivered the next, an array of elements without a body
// would nest calls as deep as it has elements.
void RequestDecoder::deliver()
{
    Value value = std::move(*m_value);
    m_value.reset();
    if (m_levels.empty()) {
        m_request.arguments.back().value = std::move(value);
        --m_argumentsLeft;
        expectIndex();
        return;
    }
    Level &level = m_levels.back();
    const bool ends = value.type() == Type::terminator || value.type() == Type::any;
    if (level.type == Type::terminatedArray && ends) {
        level.left = 0;
    } else {
        level.items.push_back(std::move(value));
        level.left -= level.type == Type::terminatedArray ? 0 : 1;
    }
    continueLevel();
}

void RequestDecoder::takeEscaped(std::uint8_t byte)
{
    if (m_step == Step::escaped && byte == kSlipEnd) {
        finish(Value::escapedBinary(std::exchange(m_escaped, {})));
        return;
    }
    if (m_step == Step::escaped && byte == kSlipEscape) {
        expect(Step::escape, 1);
        return;
    }
    m_escaped.push_back(m_step == Step::escape ? unescape(byte) : byte);
    expect(Step::escaped, 1);
}

} // namespace pensim
