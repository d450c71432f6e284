#include "psp/result_reader.h"

#include "protocol/values/value_decoder.h"
#include "protocol/values/value_text.h"

namespace zel {

void ValueResult::read(ValueDecoder &values, ValueText &text)
{
    m_value = values.decode();
    text.append(m_value, 1);
}

Value ValueResult::value() &&
{
    replaceAbsent(m_value);
    return std::move(m_value);
}

void replaceAbsent(Value &value)
{
    if (value.isAbsent()) {
        value = value.copy();
    } else if (value.isArray()) {
        for (Value &element : value.getArray())
            replaceAbsent(element);
    }
}

} // namespace zel
