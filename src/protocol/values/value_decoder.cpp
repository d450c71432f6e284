#include "protocol/values/value_decoder.h"

#include "protocol/bytes/big_endian.h"
#include "protocol/bytes/slip.h"
#include "protocol/values/value_format.h"
#include "sys/exceptions.h"
#include "sys/log.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <span>
#include <string_view>
#include <utility>

namespace zel {

namespace {

// The peer chooses the count. So reserve room for this many elements only; after that the list grows as they
// arrive.
constexpr std::uint32_t kElementsOnTrust = 1024;

constexpr std::uint32_t kBinaryLimit = 0x80000000;

void makeRoom(ValueList &elements, std::uint32_t count)
{
    if (elements.size() == elements.capacity())
        elements.reserve(
            std::min<std::size_t>(count, std::max<std::size_t>(kElementsOnTrust, elements.size() * 2)));
}

// Grows by half and not to twice the size, so that a terminated array of elements without a body stays within
// the budget.
void makeRoomForOneMore(ValueList &elements)
{
    if (elements.size() == elements.capacity())
        elements.reserve(elements.size() + elements.size() / 2 + 4);
}

void requireShallow(const NestingLevel &level)
{
    if (!level.isTooDeep())
        return;
    LogError("ValueFormatV1_0::decode - arrays nested too deep");
    throw ZELException();
}

// The bytes of an escaped binary are not counted in advance.
void appendBounded(GrowingBlock &target, std::span<const std::uint8_t> bytes)
{
    if (target.size() + bytes.size() >= kBinaryLimit)
        ProtocolInputStream::throwReadFailure(std::numeric_limits<std::int32_t>::max());
    target.append(bytes);
}

} // namespace

Value ValueDecoder::decode()
{
    return decodeBody(takeHeader());
}

std::uint8_t ValueDecoder::takeHeader()
{
    const std::uint8_t type = m_source.takeByte();
    skipHeaderRest();
    return type;
}

void ValueDecoder::skipHeaderRest()
{
    if (m_headerLength != VALUE_HEADER_LENGTH)
        m_source.skip(m_headerLength - 1);
}

std::uint64_t ValueDecoder::takeNumber(ValueType type)
{
    switch (type) {
    case ValueType::Bool:
        return m_source.takeByte() != 0 ? 1 : 0;
    case ValueType::Byte:
        return m_source.takeByte();
    case ValueType::Short16:
        return loadBigEndian<std::uint16_t>(m_source.take(2));
    case ValueType::Int32:
        return loadBigEndian<std::uint32_t>(m_source.take(4));
    default:
        return loadBigEndian<std::uint64_t>(m_source.take(8));
    }
}

Value ValueDecoder::decodeBody(std::uint8_t type)
{
    m_budget.addValues(1);
    switch (static_cast<ValueType>(type)) {
    case ValueType::Null:
        return Value::createNull();
    case ValueType::Bool:
        return Value::createBool(m_source.takeByte() != 0);
    case ValueType::Byte:
        return Value::createByte(m_source.takeByte());
    case ValueType::Short16:
        return Value::createShort(loadBigEndian<std::uint16_t>(m_source.take(2)));
    case ValueType::Int32:
        return Value::createInt(loadBigEndian<std::uint32_t>(m_source.take(4)));
    case ValueType::Long64:
        return Value::createLong(loadBigEndian<std::uint64_t>(m_source.take(8)));
    case ValueType::String:
        return decodeString();
    case ValueType::Binary:
        return decodeBinary();
    case ValueType::ValueArray:
        return decodeValueArray(takeCount());
    case ValueType::DataArray: {
        const std::uint32_t count = takeCount();
        return decodeDataArray(count, takeHeader());
    }
    case ValueType::TerminatedArray:
        return decodeTerminatedArray();
    case ValueType::Terminator:
        return Value::createTerminator();
    case ValueType::EscapedBinary:
        return decodeEscapedBinary();
    case ValueType::AnyType:
        return {};
    }
    LogError("ValueFormatV1_0::decode - Unknown value type: ", type);
    throw ZELException();
}

Value ValueDecoder::decodeString()
{
    const std::size_t size = loadBigEndian<std::uint16_t>(m_source.take(2));
    m_budget.addBytes(size);
    if (size <= m_source.atHand().size()) {
        Value value = Value::createString(textUpToZero(m_source.atHand().first(size)));
        m_source.drop(size);
        return value;
    }
    const ByteBlock bytes = allocateBlock(size);
    m_source.takeInto(bytes.get(), static_cast<std::uint32_t>(size));
    return Value::createString(textUpToZero({bytes.get(), size}));
}

Value ValueDecoder::decodeBinary()
{
    const std::uint32_t size = takeBinarySize();
    GrowingBlock bytes;
    m_source.appendTo(bytes, size);
    return Value::createBinaryOwned(bytes.release(), size);
}

std::uint32_t ValueDecoder::takeBinary(GrowingBlock &target)
{
    const std::uint32_t size = takeBinarySize();
    m_source.appendTo(target, size);
    return size;
}

std::uint32_t ValueDecoder::takeBinarySize()
{
    const auto size = loadBigEndian<std::uint32_t>(m_source.take(4));
    if (size >= kBinaryLimit)
        ProtocolInputStream::throwReadFailure(static_cast<std::int32_t>(size));
    m_budget.addBytes(size);
    return size;
}

Value ValueDecoder::decodeValueArray(std::uint32_t count)
{
    return Value::createValueArray(decodeValues(count));
}

Value ValueDecoder::decodeDataArray(std::uint32_t count, std::uint8_t elementType)
{
    return Value::createDataArray(decodeBodies(count, elementType), elementType);
}

Value ValueDecoder::decodeTerminatedArray()
{
    return Value::createTerminatedArray(decodeUntilTerminator());
}

ValueList ValueDecoder::decodeValues(std::uint32_t count)
{
    const NestingLevel level(m_depth);
    requireShallow(level);
    ValueList elements;
    for (std::uint32_t i = 0; i < count; ++i) {
        makeRoom(elements, count);
        elements.push_back(decode());
    }
    return elements;
}

ValueList ValueDecoder::decodeBodies(std::uint32_t count, std::uint8_t elementType)
{
    const NestingLevel level(m_depth);
    requireShallow(level);
    const auto type = static_cast<ValueType>(elementType);
    if (isBodiless(type))
        return bodilessElements(count, type);
    ValueList elements;
    for (std::uint32_t i = 0; i < count; ++i) {
        makeRoom(elements, count);
        elements.push_back(decodeBody(elementType));
    }
    return elements;
}

ValueList ValueDecoder::bodilessElements(std::uint32_t count, ValueType type)
{
    if (!m_budget.admit(count, m_source.taken())) {
        LogError("ValueFormatV1_0::decode - data array holds too many elements without a body");
        throw ZELException();
    }
    ValueList elements(count);
    if (type != ValueType::AnyType)
        for (Value &element : elements)
            element = Value::createBare(type);
    return elements;
}

ValueList ValueDecoder::decodeUntilTerminator()
{
    const NestingLevel level(m_depth);
    requireShallow(level);
    ValueList elements;
    for (;;) {
        Value element = decode();
        if (element.isAbsent() || element.getType() == ValueType::Terminator)
            return elements;
        makeRoomForOneMore(elements);
        elements.push_back(std::move(element));
    }
}

Value ValueDecoder::decodeEscapedBinary()
{
    GrowingBlock bytes;
    for (;;) {
        const std::size_t plain = slip::plainPrefix(m_source.atHand());
        appendBounded(bytes, m_source.atHand().first(plain));
        m_source.drop(plain);
        std::uint8_t byte = m_source.takeByte();
        if (byte == slip::kEnd)
            break;
        if (byte == slip::kEscape)
            byte = takeEscaped();
        appendBounded(bytes, {&byte, 1});
    }
    const auto size = static_cast<std::uint32_t>(bytes.size());
    m_budget.addBytes(size);
    return Value::createEscapedBinaryOwned(bytes.release(), size);
}

std::uint8_t ValueDecoder::takeEscaped()
{
    const int byte = slip::unescape(m_source.takeByte());
    if (byte < 0) {
        LogError("ValueFormatV1_0::decode - invalid escape sequence in escaped binary");
        throw ZELException();
    }
    return static_cast<std::uint8_t>(byte);
}

std::string_view textUpToZero(std::span<const std::uint8_t> bytes) noexcept
{
    const auto *const text = reinterpret_cast<const char *>(bytes.data());
    const void *const zero = bytes.empty() ? nullptr : std::memchr(text, 0, bytes.size());
    return {text, zero != nullptr ? static_cast<std::size_t>(static_cast<const char *>(zero) - text)
                                  : bytes.size()};
}

Value decodeValue(std::span<const std::uint8_t> bytes)
{
    ByteSource source(bytes);
    return ValueDecoder(source, VALUE_HEADER_LENGTH).decode();
}

} // namespace zel
