#include "protocol/psp_instruction.h"

#include <utility>

namespace zel {

void PspInstruction::setArgument(std::uint16_t index, const Value &value)
{
    setArgumentOwned(index, value.copy());
}

void PspInstruction::setArgumentOwned(std::uint16_t index, std::unique_ptr<Value> value)
{
    m_arguments.try_emplace(index, std::move(value));
}

} // namespace zel
