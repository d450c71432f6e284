#include "protocol/values/value.h"

#include "protocol/values/encoded_value_scan.h"
#include "protocol/values/value_decoder.h"
#include "protocol/values/value_encoder.h"
#include "protocol/values/value_text.h"
#include "sys/exceptions.h"
#include "sys/log.h"

#include <cstring>
#include <limits>
#include <utility>

namespace zel {

namespace {

std::uint32_t lengthOf(std::size_t size)
{
    if (size > std::numeric_limits<std::uint32_t>::max())
        throw ZELException();
    return static_cast<std::uint32_t>(size);
}

Value copyUnknown(ValueType type)
{
    LogError("Value::copy - unknown type: ", static_cast<int>(type));
    return Value::createNull();
}

ValueList copyElements(const ValueList &elements)
{
    ValueList copies;
    copies.reserve(elements.size());
    for (const Value &element : elements)
        copies.push_back(element.copy());
    return copies;
}

} // namespace

void Value::throwTypeMismatch()
{
    throw ZELException();
}

Value Value::createBare(ValueType type)
{
    if (isArrayType(type))
        return createArray(type, ValueList());
    if (type == ValueType::String || type == ValueType::Binary || type == ValueType::EscapedBinary)
        return createBytes(type, nullptr, 0);
    return createScalar(type, 0);
}

Value Value::createBytes(ValueType type, const void *data, std::size_t size)
{
    const std::uint32_t length = lengthOf(size);
    ByteBlock block;
    if (size > 0) {
        block = allocateBlock(size);
        std::memcpy(block.get(), data, size);
    }
    return createBytesOwned(type, std::move(block), length);
}

Value Value::createSecret(ValueType type, const void *data, std::size_t size)
{
    const std::uint32_t length = lengthOf(size);
    auto secret = std::make_unique<SecretBytes>(allocateBlock(size), length);
    if (size > 0)
        std::memcpy(secret->block.get(), data, size);
    Value value(type, std::move(secret));
    value.m_length = length;
    return value;
}

Value Value::createBytesOwned(ValueType type, ByteBlock data, std::uint32_t size)
{
    Value value(type, std::move(data));
    value.m_length = size;
    return value;
}

Value Value::createString(std::string_view text)
{
    return createBytes(ValueType::String, text.data(), text.size());
}

Value Value::createSecretString(std::string_view text)
{
    return createSecret(ValueType::String, text.data(), text.size());
}

Value Value::createSecretBinary(std::span<const std::uint8_t> bytes)
{
    return createSecret(ValueType::Binary, bytes.data(), bytes.size());
}

Value Value::createBinary(const std::uint8_t *data, std::uint32_t size)
{
    return createBytes(ValueType::Binary, data, size);
}

Value Value::createBinaryOwned(ByteBlock data, std::uint32_t size)
{
    return createBytesOwned(ValueType::Binary, std::move(data), size);
}

Value Value::createEscapedBinary(const std::uint8_t *data, std::int32_t size)
{
    if (size < 0)
        return createNull();
    return createBytes(ValueType::EscapedBinary, data, static_cast<std::uint32_t>(size));
}

Value Value::createEscapedBinaryOwned(ByteBlock data, std::uint32_t size)
{
    return createBytesOwned(ValueType::EscapedBinary, std::move(data), size);
}

Value Value::createArray(ValueType type, ValueList &&elements)
{
    return Value(type, std::make_unique<ValueList>(std::move(elements)));
}

Value Value::createValueArray(ValueList elements)
{
    return createArray(ValueType::ValueArray, std::move(elements));
}

Value Value::createDataArray(ValueList elements, std::uint32_t elementType)
{
    Value value = createArray(ValueType::DataArray, std::move(elements));
    value.m_length = elementType;
    return value;
}

Value Value::createTerminatedArray(ValueList elements)
{
    return createArray(ValueType::TerminatedArray, std::move(elements));
}

const std::uint8_t *Value::getBinary(std::uint32_t *size) const
{
    const std::span<const std::uint8_t> view = bytesView();
    if (size != nullptr)
        *size = m_length;
    return view.data();
}

BinaryBuffer Value::getBinaryBuffer() const
{
    const std::span<const std::uint8_t> view = bytesView();
    return BinaryBuffer(view.data(), m_length);
}

const ValueList &Value::getArray() const
{
    auto *const elements = std::get_if<std::unique_ptr<ValueList>>(&m_payload);
    if (elements == nullptr)
        throwTypeMismatch();
    return **elements;
}

ValueList &Value::getArray()
{
    auto *const elements = std::get_if<std::unique_ptr<ValueList>>(&m_payload);
    if (elements == nullptr)
        throwTypeMismatch();
    return **elements;
}

std::uint32_t Value::getElementType() const
{
    if (m_type != ValueType::DataArray)
        throwTypeMismatch();
    return m_length;
}

Value Value::copy() const
{
    switch (m_type) {
    case ValueType::Null:
    case ValueType::Bool:
    case ValueType::Byte:
    case ValueType::Short16:
    case ValueType::Int32:
    case ValueType::Long64:
    case ValueType::Terminator:
        return createScalar(m_type, *std::get_if<std::uint64_t>(&m_payload));
    case ValueType::String:
    case ValueType::Binary:
    case ValueType::EscapedBinary:
        return std::holds_alternative<std::unique_ptr<SecretBytes>>(m_payload)
                   ? createSecret(m_type, bytes(), m_length)
                   : createBytes(m_type, bytes(), m_length);
    case ValueType::ValueArray:
    case ValueType::TerminatedArray:
        return createArray(m_type, copyElements(getArray()));
    case ValueType::DataArray:
        return createDataArray(copyElements(getArray()), m_length);
    case ValueType::AnyType:
        break;
    }
    return copyUnknown(m_type);
}

void Value::swap(Value &other) noexcept
{
    m_payload.swap(other.m_payload);
    std::swap(m_type, other.m_type);
    std::swap(m_length, other.m_length);
}

void Value::pack()
{
    ValueEncoder encoder;
    encoder.encode(*this);
    const std::span<const std::uint8_t> encoded = encoder.bytes();
    *this = createBytes(ValueType::Binary, encoded.data(), encoded.size());
}

void Value::unpack()
{
    if (m_type != ValueType::Binary)
        throwTypeMismatch();
    Value content = decodeValue(bytesView());
    *this = content.isAbsent() ? createNull() : std::move(content);
}

bool Value::isEncodedValue() const noexcept
{
    return m_type == ValueType::Binary && isOneEncodedValue({bytes(), m_length});
}

void Value::toString(std::string &out, std::int32_t indent) const
{
    out.clear();
    appendTo(out, indent);
}

void Value::appendTo(std::string &out, std::int32_t indent) const
{
    TextWindow window(&out);
    ValueText(window).append(*this, indent);
    window.flush();
}

} // namespace zel
