#include "protocol/values/value_text.h"

#include "protocol/values/encoded_value_text.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zel {

namespace {

/** The name of a type in the text form. */
struct ShownName {
    char text[23] = {};
    std::size_t length = 0;

    constexpr explicit ShownName(std::string_view name)
    {
        text[length++] = '(';
        for (const char character : name)
            text[length++] = character;
        text[length++] = ')';
        text[length++] = ' ';
    }
};

template <int... Codes>
consteval std::array<ShownName, sizeof...(Codes)> shownNames(std::integer_sequence<int, Codes...>)
{
    return {ShownName(typeName(Codes))...};
}

constexpr int kNamedCodes = 16;
constexpr auto kShownNames =
    shownNames(std::make_integer_sequence<int, kNamedCodes + 1>()); // the last: unknown

} // namespace

void ValueText::append(const Value *value, std::int32_t indent)
{
    const ValueType type = value == nullptr ? ValueType::AnyType : value->getType();
    if (type == ValueType::Binary) {
        appendBinary(value->bytesView());
        return;
    }
    if (isArrayType(type)) {
        appendArray(type, value->getArray(), indent);
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
        appendScalar(type, value->getNumber());
        break;
    case ValueType::String:
        appendQuoted(value->textView());
        break;
    case ValueType::EscapedBinary:
        appendBytes(value->bytesView(), value->bytesView().size());
        break;
    default:
        appendUnknown();
    }
}

void ValueText::appendBinary(std::span<const std::uint8_t> bytes)
{
    if (appendIfEncodedValue(*this, bytes))
        return;
    appendTypeName(ValueType::Binary);
    appendBytes(bytes, bytes.size());
}

void ValueText::appendTypeName(ValueType type)
{
    const ShownName &name = kShownNames[std::min<std::size_t>(static_cast<std::size_t>(type), kNamedCodes)];
    m_out.append(name.text, name.length);
}

void ValueText::appendScalar(ValueType type, std::uint64_t scalar)
{
    if (type == ValueType::Bool)
        m_out << (scalar != 0 ? "true" : "false");
    else if (type == ValueType::Byte)
        m_out << scalar;
    else if (type == ValueType::Short16)
        m_out << static_cast<std::int16_t>(scalar);
    else if (type == ValueType::Int32)
        m_out << static_cast<std::int32_t>(scalar);
    else
        m_out << static_cast<std::int64_t>(scalar);
}

void ValueText::appendQuoted(std::string_view text)
{
    m_out << '"' << text << '"';
}

void ValueText::appendBytes(std::span<const std::uint8_t> front, std::uint64_t size)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    char text[kBytesShown * 3];
    std::size_t length = 0;
    for (const std::uint8_t byte : front.first(std::min(front.size(), kBytesShown))) {
        if (byte > 0xF)
            text[length++] = kDigits[byte >> 4];
        text[length++] = kDigits[byte & 0xF];
        text[length++] = ' ';
    }
    m_out << std::string_view(text, length);
    if (size > kBytesShown)
        m_out << "... ";
    m_out << '(' << size << " bytes)";
}

void ValueText::appendLineBreak(std::int32_t indent)
{
    constexpr std::size_t kIndentWidth = 4;
    m_out << '\n';
    m_out.repeat(' ', static_cast<std::size_t>(std::max(indent, 0)) * kIndentWidth);
}

void ValueText::appendArray(ValueType type, const ValueList &elements, std::int32_t indent)
{
    appendArrayHead(type, elements.size());
    for (const std::unique_ptr<Value> &element : elements) {
        appendLineBreak(indent + 1);
        append(element.get(), indent + 1);
    }
}

} // namespace zel
