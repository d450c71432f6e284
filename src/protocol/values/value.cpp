#include "protocol/values/value.h"

#include "protocol/values/encoded_value_scan.h"
#include "protocol/values/value_decoder.h"
#include "protocol/values/value_encoder.h"
#include "protocol/values/value_text.h"
#include "sys/exceptions.h"
#include "sys/log.h"
#include "sys/secure_wipe.h"

#include <cstring>
#include <limits>
#include <utility>

namespace zel {

namespace {

std::unique_ptr<Value> copyUnknown(ValueType type)
{
    LogError("Value::copy - unknown type: ", static_cast<int>(type));
    return Value::createNull();
}

ValueList copyElements(const ValueList &elements)
{
    ValueList copies;
    copies.reserve(elements.size());
    for (const std::unique_ptr<Value> &element : elements)
        copies.push_back(element ? element->copy() : copyUnknown(ValueType::AnyType));
    return copies;
}

} // namespace

void Value::WipeAndFree::operator()(std::uint8_t *block) const noexcept
{
    secureWipe(block, size);
    FreeBlock()(block);
}

void Value::throwTypeMismatch()
{
    throw ZELException();
}

std::unique_ptr<Value> Value::createBare(ValueType type)
{
    if (isArrayType(type))
        return createArray(type, ValueList());
    if (type == ValueType::String || type == ValueType::Binary || type == ValueType::EscapedBinary)
        return createBytes(type, nullptr, 0);
    return createScalar(type, 0);
}

std::unique_ptr<Value> Value::createBytes(ValueType type, const void *data, std::size_t size, bool secret)
{
    if (size > std::numeric_limits<std::uint32_t>::max())
        throw ZELException();
    const auto length = static_cast<std::uint32_t>(size);
    std::unique_ptr<Value> value(new Value(type, ShortBytes()));
    std::uint8_t *target = std::get_if<ShortBytes>(&value->m_payload)->data();
    if (secret && size > 0)
        target =
            value->m_payload.emplace<SecretBytes>(allocateBlock(size).release(), WipeAndFree{length}).get();
    else if (size >= kInlineSize)
        target = value->m_payload.emplace<ByteBlock>(allocateBlock(size)).get();
    if (size > 0)
        std::memcpy(target, data, size);
    value->m_length = length;
    return value;
}

std::unique_ptr<Value> Value::createBytesOwned(ValueType type, ByteBlock data, std::uint32_t size)
{
    if (size < kInlineSize)
        return createBytes(type, data.get(), size);
    std::unique_ptr<Value> value(new Value(type, std::move(data)));
    value->m_length = size;
    return value;
}

std::unique_ptr<Value> Value::createString(std::string_view text)
{
    return createBytes(ValueType::String, text.data(), text.size());
}

std::unique_ptr<Value> Value::createSecretString(std::string_view text)
{
    return createBytes(ValueType::String, text.data(), text.size(), true);
}

std::unique_ptr<Value> Value::createSecretBinary(std::span<const std::uint8_t> bytes)
{
    return createBytes(ValueType::Binary, bytes.data(), bytes.size(), true);
}

std::unique_ptr<Value> Value::createBinary(const std::uint8_t *data, std::uint32_t size)
{
    return createBytes(ValueType::Binary, data, size);
}

std::unique_ptr<Value> Value::createBinaryOwned(ByteBlock data, std::uint32_t size)
{
    return createBytesOwned(ValueType::Binary, std::move(data), size);
}

std::unique_ptr<Value> Value::createEscapedBinary(const std::uint8_t *data, std::int32_t size)
{
    if (size < 0)
        return createNull();
    return createBytes(ValueType::EscapedBinary, data, static_cast<std::uint32_t>(size));
}

std::unique_ptr<Value> Value::createEscapedBinaryOwned(ByteBlock data, std::uint32_t size)
{
    return createBytesOwned(ValueType::EscapedBinary, std::move(data), size);
}

std::unique_ptr<Value> Value::createArray(ValueType type, ValueList &&elements)
{
    return std::unique_ptr<Value>(new Value(type, std::move(elements)));
}

std::unique_ptr<Value> Value::createValueArray(ValueList elements)
{
    return createArray(ValueType::ValueArray, std::move(elements));
}

std::unique_ptr<Value> Value::createDataArray(ValueList elements, std::uint32_t elementType)
{
    std::unique_ptr<Value> value = createArray(ValueType::DataArray, std::move(elements));
    value->m_length = elementType;
    return value;
}

std::unique_ptr<Value> Value::createTerminatedArray(ValueList elements)
{
    return createArray(ValueType::TerminatedArray, std::move(elements));
}

std::string_view Value::textView() const
{
    if (m_type != ValueType::String)
        throwTypeMismatch();
    return {reinterpret_cast<const char *>(bytes()), m_length};
}

std::span<const std::uint8_t> Value::bytesView() const
{
    if (m_type != ValueType::Binary && m_type != ValueType::EscapedBinary)
        throwTypeMismatch();
    return {bytes(), m_length};
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
    auto *const elements = std::get_if<ValueList>(&m_payload);
    if (elements == nullptr)
        throwTypeMismatch();
    return *elements;
}

ValueList &Value::getArray()
{
    auto *const elements = std::get_if<ValueList>(&m_payload);
    if (elements == nullptr)
        throwTypeMismatch();
    return *elements;
}

std::uint32_t Value::getElementType() const
{
    if (m_type != ValueType::DataArray)
        throwTypeMismatch();
    return m_length;
}

std::unique_ptr<Value> Value::copy() const
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
        return createBytes(m_type, bytes(), m_length, std::holds_alternative<SecretBytes>(m_payload));
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
    swap(*createBytes(ValueType::Binary, encoded.data(), encoded.size()));
}

void Value::unpack()
{
    if (m_type != ValueType::Binary)
        throwTypeMismatch();
    const std::unique_ptr<Value> content = decodeValue(bytesView());
    swap(content ? *content : *createNull());
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
    ValueText(window).append(this, indent);
    window.flush();
}

} // namespace zel
