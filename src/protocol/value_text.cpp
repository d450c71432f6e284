#include "protocol/value_text.h"

#include "protocol/big_endian.h"
#include "protocol/encoded_value_scan.h"
#include "protocol/slip.h"
#include "protocol/value_convert.h"
#include "protocol/value_decoder.h"
#include "sys/exceptions.h"
#include "sys/log.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace zel {

namespace {

constexpr std::size_t kBytesShown = 10;
constexpr std::size_t kIndentWidth = 4;
constexpr const char *kUnknown = "unknown";

} // namespace

void ValueText::append(const Value *value, std::int32_t indent)
{
    const ValueType type = value == nullptr ? ValueType::AnyType : value->getType();
    if (type == ValueType::Binary && openIfEncoded(value->bytesView())) {
        appendEncoded(takeType(), 0);
        showOpenElements();
        return;
    }
    appendTypeName(type);
    switch (type) {
    case ValueType::Null:
    case ValueType::Terminator:
        break;
    case ValueType::Bool:
    case ValueType::Byte:
    case ValueType::Short16:
    case ValueType::Int32:
    case ValueType::Long64:
        appendScalar(type, toRawNumber(value));
        break;
    case ValueType::String:
        appendQuoted(value->textView());
        break;
    case ValueType::Binary:
    case ValueType::EscapedBinary:
        appendBytes(value->bytesView(), value->bytesView().size());
        break;
    case ValueType::ValueArray:
    case ValueType::DataArray:
    case ValueType::TerminatedArray:
        appendElements(value->getArray(), indent);
        break;
    default:
        m_out += kUnknown;
    }
}

void ValueText::appendTypeName(ValueType type)
{
    m_out += '(';
    m_out += Value::typeName(static_cast<std::int32_t>(type));
    m_out += ") ";
}

template <class Number>
void ValueText::appendNumber(Number number)
{
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    m_out.append(digits, end);
}

void ValueText::appendScalar(ValueType type, std::uint64_t scalar)
{
    if (type == ValueType::Bool)
        m_out += scalar != 0 ? "true" : "false";
    else if (type == ValueType::Byte)
        appendNumber(scalar);
    else if (type == ValueType::Short16)
        appendNumber(static_cast<std::int16_t>(scalar));
    else if (type == ValueType::Int32)
        appendNumber(static_cast<std::int32_t>(scalar));
    else
        appendNumber(static_cast<std::int64_t>(scalar));
}

void ValueText::appendQuoted(std::string_view text)
{
    m_out += '"';
    m_out += text;
    m_out += '"';
}

void ValueText::appendBytes(std::span<const std::uint8_t> front, std::uint64_t size)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    for (const std::uint8_t byte : front.first(std::min(front.size(), kBytesShown))) {
        if (byte > 0xF)
            m_out += kDigits[byte >> 4];
        m_out += kDigits[byte & 0xF];
        m_out += ' ';
    }
    if (size > kBytesShown)
        m_out += "... ";
    m_out += '(';
    appendNumber(size);
    m_out += " bytes)";
}

void ValueText::appendLineBreak(std::int32_t indent)
{
    const std::size_t spaces = static_cast<std::size_t>(std::max(indent, 0)) * kIndentWidth;
    if (m_out.size() + spaces > m_longest) {
        LogError("Value::toString - too long for the bytes received");
        throw ZELException();
    }
    m_out += '\n';
    m_out.append(spaces, ' ');
}

void ValueText::appendElements(const ValueList &elements, std::int32_t indent)
{
    appendNumber(elements.size());
    for (const std::unique_ptr<Value> &element : elements) {
        appendLineBreak(indent + 1);
        append(element.get(), indent + 1);
    }
}

bool ValueText::openIfEncoded(std::span<const std::uint8_t> bytes)
{
    if (!scanEncodedValue(bytes, m_terminatedCounts))
        return false;
    m_at = bytes.data();
    m_open.push_back({Open::Kind::Bracket, ValueType::Null, 0, 0});
    m_out += '[';
    return true;
}

void ValueText::showOpenElements()
{
    while (!m_open.empty()) {
        if (m_open.back().remaining > 0) {
            showNextElement();
            continue;
        }
        if (m_open.back().kind == Open::Kind::Bracket)
            m_out += ']';
        else if (m_open.back().kind == Open::Kind::TerminatedArray)
            takeType();
        m_open.pop_back();
    }
}

void ValueText::showNextElement()
{
    --m_open.back().remaining;
    const Open array = m_open.back();
    appendLineBreak(array.indent);
    appendEncoded(array.kind == Open::Kind::TypedArray ? array.elementType : takeType(), array.indent);
}

void ValueText::appendEncoded(ValueType type, std::int32_t indent)
{
    while (type == ValueType::Binary) {
        const std::span<const std::uint8_t> bytes = takeBytes(take<std::uint32_t>());
        if (!openIfEncoded(bytes)) {
            appendTypeName(type);
            appendBytes(bytes, bytes.size());
            return;
        }
        type = takeType();
        indent = 0;
    }
    appendTypeName(type);
    appendEncodedContents(type, indent);
}

void ValueText::appendEncodedContents(ValueType type, std::int32_t indent)
{
    switch (type) {
    case ValueType::Bool:
    case ValueType::Byte:
        appendScalar(type, take<std::uint8_t>());
        break;
    case ValueType::Short16:
        appendScalar(type, take<std::uint16_t>());
        break;
    case ValueType::Int32:
        appendScalar(type, take<std::uint32_t>());
        break;
    case ValueType::Long64:
        appendScalar(type, take<std::uint64_t>());
        break;
    case ValueType::String:
        appendQuoted(textUpToZero(takeBytes(take<std::uint16_t>())));
        break;
    case ValueType::ValueArray:
    case ValueType::DataArray:
    case ValueType::TerminatedArray:
        openArray(type, indent);
        break;
    case ValueType::EscapedBinary:
        appendEncodedEscapedBinary();
        break;
    case ValueType::AnyType:
        m_out += kUnknown;
        break;
    default: // null and terminator
        break;
    }
}

void ValueText::openArray(ValueType type, std::int32_t indent)
{
    Open array{Open::Kind::Array, ValueType::Null, 0, indent + 1};
    if (type == ValueType::TerminatedArray) {
        array.kind = Open::Kind::TerminatedArray;
        array.remaining = takeTerminatedCount();
    } else {
        array.remaining = take<std::uint16_t>();
    }
    if (type == ValueType::DataArray) {
        array.kind = Open::Kind::TypedArray;
        array.elementType = takeType();
    }
    appendNumber(array.remaining);
    m_open.push_back(array);
}

void ValueText::appendEncodedEscapedBinary()
{
    std::uint8_t front[kBytesShown];
    std::size_t size = 0;
    for (auto byte = take<std::uint8_t>(); byte != slip::kEnd; byte = take<std::uint8_t>()) {
        if (byte == slip::kEscape)
            byte = static_cast<std::uint8_t>(slip::unescape(take<std::uint8_t>()));
        if (size < kBytesShown)
            front[size] = byte;
        ++size;
    }
    appendBytes({front, std::min(size, kBytesShown)}, size);
}

std::uint32_t ValueText::takeTerminatedCount()
{
    const std::uint32_t count = m_terminatedCounts.back();
    m_terminatedCounts.pop_back();
    return count;
}

template <class UInt>
UInt ValueText::take()
{
    return loadBigEndian<UInt>(takeBytes(sizeof(UInt)).data());
}

std::span<const std::uint8_t> ValueText::takeBytes(std::size_t count)
{
    const std::span<const std::uint8_t> bytes{m_at, count};
    m_at += count;
    return bytes;
}

} // namespace zel
