#include "protocol/frames/instruction.h"

#include <utility>

namespace zel {

void Instruction::setArgument(std::uint16_t index, const Value &value)
{
    setArgumentOwned(index, value.copy());
}

void Instruction::setArgumentOwned(std::uint16_t index, Value value)
{
    m_arguments.try_emplace(index, std::move(value));
}

} // namespace zel
