#include "protocol/values/value_convert.h"

#include "protocol/values/decode_limits.h"
#include "protocol/values/value_text.h"
#include "sys/exceptions.h"
#include "sys/text_window.h"

namespace zel {

namespace {

/** The least number of bytes in which the value can have been received. Adds the value's memory to the
 *  budget. */
std::uint64_t wireSize(const Value &value, TreeBudget &budget)
{
    constexpr std::uint64_t kType = 1;
    budget.addValues(1);
    switch (value.getType()) {
    case ValueType::String:
        budget.addBytes(value.textView().size());
        return kType + value.textView().size();
    case ValueType::Binary:
    case ValueType::EscapedBinary:
        budget.addBytes(value.bytesView().size());
        return kType + value.bytesView().size();
    case ValueType::Short16:
        return kType + 2;
    case ValueType::Int32:
        return kType + 4;
    case ValueType::Long64:
        return kType + 8;
    case ValueType::Bool:
    case ValueType::Byte:
        return kType + 1;
    case ValueType::ValueArray:
    case ValueType::DataArray:
    case ValueType::TerminatedArray:
        break;
    default:
        return kType;
    }
    std::uint64_t size = kType;
    for (const Value &element : value.getArray()) {
        const std::uint64_t elementSize = wireSize(element, budget);
        size += value.getType() == ValueType::DataArray ? elementSize - kType : elementSize;
    }
    return size;
}

} // namespace

std::uint64_t toRawNumber(const Value &value) noexcept
{
    return isNumber(value) ? value.getNumber() : 0;
}

TextAllowance::TextAllowance(const Value &answer)
{
    TreeBudget budget;
    const std::uint64_t received = wireSize(answer, budget);
    m_left = budget.longestText(received);
}

std::string toText(const Value &value, TextAllowance &allowance)
{
    std::string text;
    if (value.isAbsent())
        return text;
    if (value.getType() == ValueType::String) {
        value.getString(text);
        return text;
    }
    TextWindow window(&text, allowance.left());
    ValueText(window).append(value, 0);
    window.flush();
    allowance.use(text.size());
    return text;
}

std::string toText(const Value &value)
{
    TextAllowance allowance(value);
    return toText(value, allowance);
}

const Value &elementAt(const ValueList &list, std::size_t index)
{
    if (index >= list.size())
        throw ZELException();
    return list[index];
}

bool isNull(const Value &value) noexcept
{
    return value.isAbsent() || value.getType() == ValueType::Null;
}

bool isNumber(const Value &value) noexcept
{
    return isNumberType(value.getType());
}

bool isNonZero(const Value &value) noexcept
{
    return !isNull(value) && (!isNumber(value) || toRawNumber(value) != 0);
}

} // namespace zel
