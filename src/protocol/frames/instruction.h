#pragma once

#include "protocol/values/value.h"

#include <cstdint>
#include <map>

namespace zel {

/** Arguments in ascending index order; each is owned. */
using ArgumentMap = std::map<std::uint16_t, Value>;

/** An instruction code (mostly four ASCII characters, first one in the highest byte) and its arguments: a
 *  request under construction, or what a page-transaction response holds. The first value put under an
 *  index stays. */
class Instruction
{
public:
    explicit Instruction(std::uint32_t code) noexcept : m_code(code) {}
    virtual ~Instruction() = default;

    /** Stores a copy. */
    virtual void setArgument(std::uint16_t index, const Value &value);
    virtual void setArgumentOwned(std::uint16_t index, Value value);

    std::uint32_t getCode() const noexcept { return m_code; }
    const ArgumentMap &getArguments() const noexcept { return m_arguments; }

private:
    std::uint32_t m_code;
    ArgumentMap m_arguments;
};

} // namespace zel
