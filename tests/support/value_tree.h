#pragma once

#include "protocol/values/value.h"

#include <cstdint>
#include <string>
#include <utility>

/** Building and comparing values without the codec. */
namespace zel::test {

template <class... Values>
ValueList elements(Values... values)
{
    ValueList list;
    (list.push_back(std::move(values)), ...);
    return list;
}

template <class... Values>
Value valueArray(Values... values)
{
    return Value::createValueArray(elements(std::move(values)...));
}

inline Value binaryOf(const std::vector<std::uint8_t> &bytes)
{
    return Value::createBinary(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

inline Value escapedBinaryOf(const std::vector<std::uint8_t> &bytes)
{
    return Value::createEscapedBinary(bytes.data(), static_cast<std::int32_t>(bytes.size()));
}

inline std::string textOf(const Value &value)
{
    std::string text;
    value.toString(text);
    return text;
}

/** Same types, contents and shape. */
bool sameTree(const Value &left, const Value &right);

} // namespace zel::test
