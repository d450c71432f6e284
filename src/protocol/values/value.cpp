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

void Value::release() noexcept
{
    if (isArray()) {
        std::destroy_at(&m_payload.elements);
        return;
    }
    if (m_secret)
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): the bytes are this object's own
        secureWipe(const_cast<std::uint8_t *>(bytes()), m_length);
    if (ownsBlock())
        FreeBlock()(m_payload.block);
}

void Value::throwTypeMismatch()
{
    throw ZELException();
}

void Value::setBytes(const void *data, std::size_t size)
{
    if (size > std::numeric_limits<std::uint32_t>::max())
        throw ZELException();
    std::uint8_t *target = m_payload.inlineBytes;
    if (size >= kInlineSize)
        target = m_payload.block = allocateBlock(size).release();
    if (size > 0)
        std::memcpy(target, data, size);
    m_length = static_cast<std::uint32_t>(size);
}

std::unique_ptr<Value> Value::createBytes(ValueType type, const void *data, std::size_t size, bool secret)
{
    std::unique_ptr<Value> value = createBare(type);
    value->m_secret = secret;
    value->setBytes(data, size);
    return value;
}

std::unique_ptr<Value> Value::createBytesOwned(ValueType type, ByteBlock data, std::uint32_t size)
{
    if (size < kInlineSize)
        return createBytes(type, data.get(), size);
    std::unique_ptr<Value> value = createBare(type);
    value->m_payload.block = data.release();
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

std::unique_ptr<Value> Value::createArray(ValueType type, ValueList elements)
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
    if (!isArray())
        throwTypeMismatch();
    return m_payload.elements;
}

ValueList &Value::getArray()
{
    if (!isArray())
        throwTypeMismatch();
    return m_payload.elements;
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
        return createScalar(m_type, m_payload.scalar);
    case ValueType::String:
    case ValueType::Binary:
    case ValueType::EscapedBinary:
        return createBytes(m_type, bytes(), m_length, m_secret);
    case ValueType::ValueArray:
    case ValueType::TerminatedArray:
        return createArray(m_type, copyElements(m_payload.elements));
    case ValueType::DataArray:
        return createDataArray(copyElements(m_payload.elements), m_length);
    case ValueType::AnyType:
        break;
    }
    return copyUnknown(m_type);
}

void Value::swap(Value &other) noexcept
{
    Value held(ValueType::Null, 0);
    held.takeFrom(*this);
    takeFrom(other);
    other.takeFrom(held);
}

// The other becomes a null value.
void Value::takeFrom(Value &other) noexcept
{
    release();
    m_type = other.m_type;
    m_secret = other.m_secret;
    m_length = other.m_length;
    if (other.isArray()) {
        std::construct_at(&m_payload.elements, std::move(other.m_payload.elements));
        std::destroy_at(&other.m_payload.elements);
    } else {
        std::memcpy(m_payload.inlineBytes, other.m_payload.inlineBytes, sizeof m_payload.inlineBytes);
    }
    other.m_type = ValueType::Null;
    other.m_secret = false;
    other.m_length = 0;
    other.m_payload.scalar = 0;
}

void Value::pack()
{
    ValueEncoder encoder;
    encoder.encode(*this);
    const std::span<const std::uint8_t> encoded = encoder.bytes();
    takeFrom(*createBytes(ValueType::Binary, encoded.data(), encoded.size()));
}

void Value::unpack()
{
    if (m_type != ValueType::Binary)
        throwTypeMismatch();
    const std::unique_ptr<Value> content = decodeValue(bytesView());
    takeFrom(content ? *content : *createNull());
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
