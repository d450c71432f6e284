#include "psp/psp_argument.h"

#include "protocol/values/value_encoder.h"

namespace zel {

void PspArgument::encode(ValueEncoder &out, std::uint8_t key) const
{
    if (m_value != nullptr && m_value->isAbsent())
        return;
    out.writeNumber(key);
    if (m_value != nullptr) {
        out.encode(*m_value);
        return;
    }
    out.writeNumber(static_cast<std::uint8_t>(m_type));
    if (m_type == ValueType::Short16)
        out.writeNumber(static_cast<std::uint16_t>(m_number));
    else if (m_type == ValueType::Int32)
        out.writeNumber(static_cast<std::uint32_t>(m_number));
    else
        out.writeNumber(m_number);
}

} // namespace zel
