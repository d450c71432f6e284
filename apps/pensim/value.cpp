#include "value.h"

#include <algorithm>
#include <fmt/format.h>

namespace pensim {

Value::Value(Type type, std::uint64_t number) : m_type(type), m_number(number) {}

Value::Value(Type type, std::vector<Value> items, Type elementType)
    : m_type(type), m_elementType(elementType), m_items(std::move(items))
{
}

Value Value::ofNumber(Type type, std::uint64_t number)
{
    return Value(type, type == Type::boolean && number != 0 ? 1 : number);
}

Value Value::null()
{
    return Value(Type::null);
}
Value Value::boolean(bool value)
{
    return Value(Type::boolean, value ? 1 : 0);
}
Value Value::byte(std::uint8_t value)
{
    return Value(Type::byte, value);
}
Value Value::short16(std::uint16_t value)
{
    return Value(Type::short16, value);
}
Value Value::int32(std::uint32_t value)
{
    return Value(Type::int32, value);
}
Value Value::long64(std::uint64_t value)
{
    return Value(Type::long64, value);
}
Value Value::terminator()
{
    return Value(Type::terminator);
}
Value Value::any()
{
    return Value(Type::any);
}

Value Value::string(std::string text)
{
    Value value(Type::string);
    value.m_text = std::move(text);
    return value;
}

Value Value::binary(Bytes bytes)
{
    return binary(std::make_shared<const Bytes>(std::move(bytes)));
}

Value Value::binary(SharedBytes bytes)
{
    Value value(Type::binary);
    value.m_bytes = std::move(bytes);
    return value;
}

Value Value::escapedBinary(Bytes bytes)
{
    Value value(Type::escapedBinary);
    value.m_bytes = std::make_shared<const Bytes>(std::move(bytes));
    return value;
}

Value Value::array(std::vector<Value> items)
{
    return Value(Type::array, std::move(items), Type::null);
}

Value Value::dataArray(Type elementType, std::vector<Value> items)
{
    return Value(Type::dataArray, std::move(items), elementType);
}

Value Value::terminatedArray(std::vector<Value> items)
{
    return Value(Type::terminatedArray, std::move(items), Type::null);
}

const Bytes &Value::bytes() const
{
    static const Bytes nothing;
    return m_bytes ? *m_bytes : nothing;
}

namespace {

const char *typeText(Type type)
{
    switch (type) {
    case Type::null:
        return "null";
    case Type::boolean:
        return "bool";
    case Type::byte:
        return "byte";
    case Type::short16:
        return "short16";
    case Type::int32:
        return "int32";
    case Type::long64:
        return "long64";
    case Type::string:
        return "string";
    case Type::binary:
        return "binary";
    case Type::array:
        return "array";
    case Type::dataArray:
        return "data array";
    case Type::terminatedArray:
        return "terminated array";
    case Type::terminator:
        return "terminator";
    case Type::escapedBinary:
        return "escaped binary";
    case Type::any:
        return "any";
    }
    return "unknown";
}

std::string bytesText(const Bytes &bytes)
{
    constexpr std::size_t shown = 16;
    std::string text;
    for (std::size_t i = 0; i < std::min(bytes.size(), shown); ++i)
        text += fmt::format("{:02x} ", bytes[i]);
    return text + fmt::format("{}({} bytes)", bytes.size() > shown ? ".. " : "", bytes.size());
}

std::string itemsText(const std::vector<Value> &items)
{
    constexpr std::size_t shown = 20;
    std::string text = "[";
    for (std::size_t i = 0; i < std::min(items.size(), shown); ++i)
        text += (i == 0 ? "" : ", ") + items[i].toLogText();
    return text + (items.size() > shown ? fmt::format(", .. ({} items)]", items.size()) : "]");
}

} // namespace

std::string Value::toLogText() const
{
    const std::string name = typeText(m_type);
    if (isNumber())
        return fmt::format("{} {}", name, m_number);
    if (isArray())
        return (m_type == Type::array ? "" : name + " ") + itemsText(m_items);
    if (m_type == Type::string)
        return fmt::format("\"{}\"", m_text);
    if (m_type == Type::binary || m_type == Type::escapedBinary)
        return name + " " + bytesText(bytes());
    return name;
}

bool operator==(const Value &left, const Value &right)
{
    return left.m_type == right.m_type && left.m_number == right.m_number && left.m_text == right.m_text &&
           left.m_elementType == right.m_elementType && left.bytes() == right.bytes() &&
           left.m_items == right.m_items;
}

} // namespace pensim
