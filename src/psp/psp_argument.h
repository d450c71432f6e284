#pragma once

#include "protocol/values/value.h"

#include <cstdint>

namespace zel {

class ValueEncoder;

/** An argument of a request: a number or a value. The value is borrowed until the request is sent. An absent
 *  value counts as an argument but is not sent. Numbers and values convert to it, so execute(code, id, value)
 *  takes both. */
class PspArgument
{
public:
    // NOLINTBEGIN(google-explicit-constructor): arguments are written as what they are
    PspArgument(std::uint16_t number) noexcept : m_type(ValueType::Short16), m_number(number) {}
    PspArgument(std::uint32_t number) noexcept : m_type(ValueType::Int32), m_number(number) {}
    PspArgument(std::uint64_t number) noexcept : m_type(ValueType::Long64), m_number(number) {}
    PspArgument(const Value &value) noexcept : m_value(&value) {}
    // NOLINTEND(google-explicit-constructor)

    /** Appends key and value; nothing for an absent value. Throws ZELException as ValueEncoder does. */
    void encode(ValueEncoder &out, std::uint8_t key) const;

private:
    ValueType m_type = ValueType::Null; // the number's type
    std::uint64_t m_number = 0;
    const Value *m_value = nullptr;
};

} // namespace zel
