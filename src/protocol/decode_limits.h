#pragma once

#include "protocol/value.h"

#include <cstdint>

/** What a peer may make the decoder build. The decoder and the scan for encoded values keep the same
 *  rules, so that they accept the same bytes. */
namespace zel {

/** Elements of these types have no bytes of their own in a data array. */
constexpr bool isBodiless(ValueType type) noexcept
{
    return type == ValueType::Null || type == ValueType::Terminator || type == ValueType::AnyType;
}

/** Arrays within arrays; deeper input is refused. */
inline constexpr int kDeepestNesting = 256;

/** Counts one level of nesting while it lives. */
class NestingLevel
{
public:
    explicit NestingLevel(int &depth) noexcept : m_depth(depth) { ++m_depth; }
    ~NestingLevel() { --m_depth; }
    NestingLevel(const NestingLevel &) = delete;
    NestingLevel &operator=(const NestingLevel &) = delete;

    bool isTooDeep() const noexcept { return m_depth > kDeepestNesting; }

private:
    int &m_depth;
};

/** What the decoded tree holds. Every value that has a body pays for itself with the bytes it came in;
 *  the elements of a data array whose type has no body come free, so they are admitted only while the
 *  tree stays within 64 bytes per byte received plus 16 MiB. */
class TreeBudget
{
public:
    void addValues(std::uint64_t count) noexcept { m_held += count * kBytesPerValue; }
    void addBytes(std::uint64_t count) noexcept { m_held += count; }

    /** Whether count absent elements (or values, without a body) may be added now. */
    [[nodiscard]] bool admit(std::uint64_t count, bool absent, std::uint64_t received) noexcept
    {
        m_held += count * (absent ? kBytesPerElement : kBytesPerValue);
        return m_held <= kTreeBytesPerByte * received + kAllowance;
    }

private:
    static constexpr std::uint64_t kTreeBytesPerByte = 64;
    static constexpr std::uint64_t kAllowance = std::uint64_t{16} * 1024 * 1024;
    static constexpr std::uint64_t kBytesPerElement = sizeof(ValueList::value_type);
    static constexpr std::uint64_t kBytesPerValue = sizeof(Value) + kBytesPerElement;

    std::uint64_t m_held = 0;
};

} // namespace zel
