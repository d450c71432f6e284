#include "protocol/value_encoder.h"

#include "protocol/big_endian.h"
#include "protocol/slip.h"
#include "sys/exceptions.h"
#include "sys/log.h"

#include <cstring>
#include <limits>

namespace zel {

namespace {

constexpr std::size_t kCountSize = 2;

[[noreturn]] void refuse(ValueType type)
{
    LogError(FormatLogText("ValueFormatV1_0::encode - Unknown value type: %d", static_cast<int>(type)));
    throw ZELException();
}

std::size_t elementsSize(const Value &array, std::size_t (*sizeOf)(const Value &))
{
    std::size_t size = 0;
    for (const std::unique_ptr<Value> &element : array.getArray()) {
        if (!element)
            refuse(ValueType::AnyType);
        size += sizeOf(*element);
    }
    return size;
}

std::uint8_t *writeElements(std::uint8_t *at, const Value &array,
                            std::uint8_t *(*write)(std::uint8_t *, const Value &) noexcept) noexcept
{
    for (const std::unique_ptr<Value> &element : array.getArray())
        at = write(at, *element);
    return at;
}

// Counts beyond 16 bits are cut: the wire form has no room for them.
std::uint8_t *writeCount(std::uint8_t *at, std::size_t count) noexcept
{
    return storeBigEndian(at, static_cast<std::uint16_t>(count));
}

std::uint8_t *writeBytes(std::uint8_t *at, const void *bytes, std::size_t count) noexcept
{
    if (count > 0)
        std::memcpy(at, bytes, count);
    return at + count;
}

std::uint8_t *writeString(std::uint8_t *at, std::string_view text) noexcept
{
    at = writeCount(at, text.size() + 1);
    at = writeBytes(at, text.data(), text.size());
    *at = 0;
    return at + 1;
}

std::uint8_t *writeBinary(std::uint8_t *at, std::span<const std::uint8_t> bytes) noexcept
{
    at = storeBigEndian(at, static_cast<std::uint32_t>(bytes.size()));
    return writeBytes(at, bytes.data(), bytes.size());
}

std::uint8_t *writeValueArray(std::uint8_t *at, const Value &array) noexcept
{
    at = writeCount(at, array.getArray().size());
    return writeElements(at, array, writeEncoded);
}

// The first element's type goes for all; an element of another type keeps its own body.
std::uint8_t *writeDataArray(std::uint8_t *at, const Value &array) noexcept
{
    const ValueList &elements = array.getArray();
    const ValueType type = elements.empty() ? ValueType::Null : elements.front()->getType();
    at = writeCount(at, elements.size());
    *at++ = static_cast<std::uint8_t>(type);
    return writeElements(at, array, writeEncodedBody);
}

std::uint8_t *writeTerminatedArray(std::uint8_t *at, const Value &array) noexcept
{
    at = writeElements(at, array, writeEncoded);
    *at = static_cast<std::uint8_t>(ValueType::Terminator);
    return at + 1;
}

std::uint8_t *writeEscapedBinary(std::uint8_t *at, std::span<const std::uint8_t> bytes) noexcept
{
    at = slip::writeStuffed(at, bytes);
    *at = slip::kEnd;
    return at + 1;
}

} // namespace

std::size_t encodedSize(const Value &value)
{
    return 1 + encodedBodySize(value);
}

std::size_t encodedBodySize(const Value &value)
{
    switch (value.getType()) {
    case ValueType::Null:
    case ValueType::Terminator:
    case ValueType::AnyType:
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
        return 4 + value.bytesView().size();
    case ValueType::ValueArray:
        return kCountSize + elementsSize(value, encodedSize);
    case ValueType::DataArray:
        return kCountSize + 1 + elementsSize(value, encodedBodySize);
    case ValueType::TerminatedArray:
        return elementsSize(value, encodedSize) + 1;
    case ValueType::EscapedBinary:
        return slip::stuffedSize(value.bytesView()) + 1;
    }
    refuse(value.getType());
}

std::uint8_t *writeEncoded(std::uint8_t *at, const Value &value) noexcept
{
    *at = static_cast<std::uint8_t>(value.getType());
    return writeEncodedBody(at + 1, value);
}

std::uint8_t *writeEncodedBody(std::uint8_t *at, const Value &value) noexcept
{
    switch (value.getType()) {
    case ValueType::Null:
    case ValueType::Terminator:
    case ValueType::AnyType:
        break;
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
    case ValueType::Binary:
        return writeBinary(at, value.bytesView());
    case ValueType::ValueArray:
        return writeValueArray(at, value);
    case ValueType::DataArray:
        return writeDataArray(at, value);
    case ValueType::TerminatedArray:
        return writeTerminatedArray(at, value);
    case ValueType::EscapedBinary:
        return writeEscapedBinary(at, value.bytesView());
    }
    return at;
}

ByteBlock encodeToBlock(const Value &value, std::uint32_t &size)
{
    const std::size_t needed = encodedSize(value);
    if (needed > std::numeric_limits<std::uint32_t>::max())
        throw ZELException();
    ByteBlock block = allocateBlock(needed);
    writeEncoded(block.get(), value);
    size = static_cast<std::uint32_t>(needed);
    return block;
}

} // namespace zel
