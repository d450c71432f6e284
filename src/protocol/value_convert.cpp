#include "protocol/value_convert.h"

#include "sys/exceptions.h"

namespace zel {

std::uint64_t toRawNumber(const Value *value) noexcept
{
    if (isNull(value))
        return 0;
    switch (value->getType()) {
    case ValueType::Bool:
        return value->getBool() ? 1 : 0;
    case ValueType::Byte:
        return value->getByte();
    case ValueType::Short16:
        return value->getShort();
    case ValueType::Int32:
        return value->getInt();
    case ValueType::Long64:
        return value->getLong();
    default:
        return 0;
    }
}

std::string toText(const Value *value)
{
    std::string text;
    if (value == nullptr)
        return text;
    if (value->getType() == ValueType::String)
        value->getString(text);
    else
        value->toString(text);
    return text;
}

const ValueList &toList(const Value *value)
{
    if (value == nullptr)
        throw ZELException();
    return value->getArray();
}

bool isNull(const Value *value) noexcept
{
    return value == nullptr || value->getType() == ValueType::Null;
}

bool isNonZero(const Value *value) noexcept
{
    if (isNull(value))
        return false;
    const ValueType type = value->getType();
    const bool isNumber = type >= ValueType::Bool && type <= ValueType::Long64;
    return !isNumber || toRawNumber(value) != 0;
}

} // namespace zel
