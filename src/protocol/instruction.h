#pragma once

#include "protocol/psp_instruction.h"

#include <cstdint>
#include <memory>

namespace zel {

/** An instruction received in a page-transaction response. The first value put under an index stays. */
class Instruction
{
public:
    explicit Instruction(std::uint32_t code) noexcept : m_code(code) {}
    virtual ~Instruction() = default;

    /** Stores a copy. */
    virtual void setArgument(std::uint16_t index, const Value &value);
    virtual void setArgumentOwned(std::uint16_t index, std::unique_ptr<Value> value);

    std::uint32_t getCode() const noexcept { return m_code; }
    const ArgumentMap &getArguments() const noexcept { return m_arguments; }

private:
    std::uint32_t m_code;
    ArgumentMap m_arguments;
};

} // namespace zel
