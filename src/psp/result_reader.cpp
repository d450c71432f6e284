#include "psp/result_reader.h"

#include "protocol/values/value_decoder.h"
#include "protocol/values/value_text.h"

namespace zel {

void ValueResult::read(ValueDecoder &values, ValueText &text)
{
    m_value = values.decode();
    text.append(m_value.get(), 1);
}

std::unique_ptr<Value> ValueResult::value() &&
{
    replaceAbsent(m_value);
    return std::move(m_value);
}

void replaceAbsent(std::unique_ptr<Value> &value)
{
    if (value == nullptr) {
        value = Value::createBare(ValueType::AnyType)->copy();
    } else if (value->isArray()) {
        for (std::unique_ptr<Value> &element : value->getArray())
            replaceAbsent(element);
    }
}

} // namespace zel
