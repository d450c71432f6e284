#include "protocol/values/value_encoder.h"

#include "protocol/bytes/big_endian.h"
#include "protocol/bytes/slip.h"
#include "sys/exceptions.h"
#include "sys/log.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace zel {

namespace {

constexpr std::size_t kCountSize = 2;
constexpr std::size_t kLengthSize = 4; // of a binary

[[noreturn]] void refuse(ValueType type)
{
    LogError("ValueFormatV1_0::encode - Unknown value type: ", static_cast<int>(type));
    throw ZELException();
}

std::size_t encodedBodySize(const Value &value);

std::size_t elementsSize(const ValueList &elements, std::size_t headerSize)
{
    std::size_t size = elements.size() * headerSize;
    for (const Value &element : elements)
        size += encodedBodySize(element);
    return size;
}

std::size_t encodedBodySize(const Value &value)
{
    switch (value.getType()) {
    case ValueType::Null:
    case ValueType::Terminator:
        return 0;
    case ValueType::Bool:
    case ValueType::Byte:
        return 1;
    case ValueType::Short16:
        return 2;
    case ValueType::Int32:
        return 4;
    case ValueType::Long64:
        return 8;
    case ValueType::String:
        return kCountSize + value.textView().size() + 1;
    case ValueType::Binary:
        return kLengthSize + value.bytesView().size();
    case ValueType::ValueArray:
        return kCountSize + elementsSize(value.getArray(), 1);
    case ValueType::DataArray:
        return kCountSize + 1 + elementsSize(value.getArray(), 0);
    case ValueType::TerminatedArray:
        return elementsSize(value.getArray(), 1) + 1;
    case ValueType::EscapedBinary:
        return slip::stuffedSize(value.bytesView()) + 1;
    case ValueType::AnyType:
        break;
    }
    refuse(value.getType());
}

// A count of more than 16 bits is cut, because the wire form has 16 bits for it.
std::uint8_t *writeCount(std::uint8_t *at, std::size_t count) noexcept
{
    return storeBigEndian(at, static_cast<std::uint16_t>(count));
}

std::uint8_t *writeType(std::uint8_t *at, ValueType type) noexcept
{
    return storeBigEndian(at, static_cast<std::uint8_t>(type));
}

// A call of memcpy() takes as long as the rest of a short text; two words, which may overlap, take none.
std::uint8_t *writeBytes(std::uint8_t *at, const void *bytes, std::size_t count) noexcept
{
    const auto *const from = static_cast<const std::uint8_t *>(bytes);
    std::uint64_t first = 0;
    std::uint64_t last = 0;
    if (count >= sizeof first && count <= sizeof first + sizeof last) {
        std::memcpy(&first, from, sizeof first);
        std::memcpy(&last, from + count - sizeof last, sizeof last);
        std::memcpy(at, &first, sizeof first);
        std::memcpy(at + count - sizeof last, &last, sizeof last);
    } else if (count > 0) {
        std::memcpy(at, from, count);
    }
    return at + count;
}

} // namespace

std::size_t encodedSize(const Value &value)
{
    return value.isAbsent() ? 1 : 1 + encodedBodySize(value);
}

std::uint8_t *ValueEncoder::grow(std::uint8_t *at, std::size_t count)
{
    const auto written = static_cast<std::size_t>(at - m_begin);
    const std::size_t capacity = std::max(2 * static_cast<std::size_t>(m_end - m_begin), written + count);
    auto grown = std::make_unique_for_overwrite<std::uint8_t[]>(capacity);
    std::memcpy(grown.get(), m_begin, written);
    secureWipe(m_begin, written);
    m_onHeap = std::move(grown);
    m_begin = m_onHeap.get();
    m_end = m_begin + capacity;
    return m_begin + written;
}

inline std::uint8_t *ValueEncoder::write(std::uint8_t *at, const Value &value)
{
    at = room(at, 1 + kBodyOfNumber);
    return writeBody(writeType(at, value.getType()), value);
}

// The caller has made room for the body of a number.
inline std::uint8_t *ValueEncoder::writeBody(std::uint8_t *at, const Value &value)
{
    switch (value.getType()) {
    case ValueType::Bool:
        return storeBigEndian<std::uint8_t>(at, value.getBool() ? 1 : 0);
    case ValueType::Byte:
        return storeBigEndian(at, value.getByte());
    case ValueType::Short16:
        return storeBigEndian(at, value.getShort());
    case ValueType::Int32:
        return storeBigEndian(at, value.getInt());
    case ValueType::Long64:
        return storeBigEndian(at, value.getLong());
    case ValueType::String:
        return writeString(at, value.textView());
    default:
        return writeCompound(at, value);
    }
}

std::uint8_t *ValueEncoder::writeCompound(std::uint8_t *at, const Value &value)
{
    switch (value.getType()) {
    case ValueType::Null:
    case ValueType::Terminator:
        return at;
    case ValueType::Binary:
        return writeBinary(at, value.bytesView());
    case ValueType::ValueArray:
        return writeElements(writeCount(at, value.getArray().size()), value.getArray());
    case ValueType::DataArray:
        return writeDataArray(at, value.getArray());
    case ValueType::TerminatedArray:
        return writeTerminator(writeElements(at, value.getArray()));
    case ValueType::EscapedBinary:
        return writeEscapedBinary(at, value.bytesView());
    default:
        refuse(value.getType());
    }
}

std::uint8_t *ValueEncoder::writeString(std::uint8_t *at, std::string_view text)
{
    at = room(at, kCountSize + text.size() + 1);
    at = writeCount(at, text.size() + 1);
    at = writeBytes(at, text.data(), text.size());
    *at = 0;
    return at + 1;
}

std::uint8_t *ValueEncoder::writeBinary(std::uint8_t *at, std::span<const std::uint8_t> bytes)
{
    at = room(at, kLengthSize + bytes.size());
    at = storeBigEndian(at, static_cast<std::uint32_t>(bytes.size()));
    return writeBytes(at, bytes.data(), bytes.size());
}

std::uint8_t *ValueEncoder::writeEscapedBinary(std::uint8_t *at, std::span<const std::uint8_t> bytes)
{
    at = room(at, slip::stuffedSize(bytes) + 1);
    at = slip::writeStuffed(at, bytes);
    *at = slip::kEnd;
    return at + 1;
}

std::uint8_t *ValueEncoder::writeElements(std::uint8_t *at, const ValueList &elements)
{
    for (const Value &element : elements)
        at = write(at, element);
    return at;
}

std::uint8_t *ValueEncoder::writeElementBodies(std::uint8_t *at, const ValueList &elements)
{
    for (const Value &element : elements)
        at = writeBody(room(at, kBodyOfNumber), element);
    return at;
}

// Writes the type of the first element for all. An element of another type is still written with the body of
// its own type.
std::uint8_t *ValueEncoder::writeDataArray(std::uint8_t *at, const ValueList &elements)
{
    at = writeCount(at, elements.size());
    at = writeType(at, elements.empty() ? ValueType::Null : elements.front().getType());
    return writeElementBodies(at, elements);
}

std::uint8_t *ValueEncoder::writeTerminator(std::uint8_t *at)
{
    return writeType(room(at, 1), ValueType::Terminator);
}

void ValueEncoder::encode(const Value &value)
{
    m_at = value.isAbsent() ? writeType(room(m_at, 1), ValueType::AnyType) : write(m_at, value);
}

void ValueEncoder::encodeBody(const Value &value)
{
    if (!value.isAbsent())
        m_at = writeBody(room(m_at, kBodyOfNumber), value);
}

void ValueEncoder::writeTo(ProtocolOutputStream &out) const
{
    if (bytes().size() > std::numeric_limits<std::uint32_t>::max())
        throw ZELException();
    out.write(bytes().data(), static_cast<std::uint32_t>(bytes().size()));
}

} // namespace zel
