#pragma once

#include "protocol/values/value.h"

#include <cstddef>
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

/** What is held for the bytes of one answer: the decoded tree, and the texts that are made of it for the
 * host. Together they stay within 64 bytes per byte received plus 16 MiB. Every value that has a body pays
 * for itself with the bytes it came in. The elements of a data array whose type has no body come free, and so
 * does the indentation of elements that lie deep: those are admitted only while they fit. */
class TreeBudget
{
public:
    void addValues(std::uint64_t count) noexcept { m_held += count * kBytesPerValue; }
    void addBytes(std::uint64_t count) noexcept { m_held += count; }

    /** Whether count values without a body may be added now. An absent element counts as one: it becomes a
     *  null value when the answer is handed on. */
    [[nodiscard]] bool admit(std::uint64_t count, std::uint64_t received) noexcept
    {
        addValues(count);
        return m_held <= limit(received);
    }

    /** How long texts made of the tree may become together. */
    std::size_t longestText(std::uint64_t received) const noexcept
    {
        const std::uint64_t most = limit(received);
        return m_held < most ? (most - m_held) / kHeldPerTextByte : 0;
    }

private:
    static constexpr std::uint64_t limit(std::uint64_t received) noexcept
    {
        return kHeldBytesPerByte * received + kAllowance;
    }

    static constexpr std::uint64_t kHeldBytesPerByte = 64;
    static constexpr std::uint64_t kAllowance = std::uint64_t{16} * 1024 * 1024;
    /** Two words of the heap's for each block, and the element that points there. */
    static constexpr std::uint64_t kBytesPerValue = sizeof(Value) + 16 + sizeof(ValueList::value_type);
    /** A text that grows is copied into a block of twice its size, and once more for the host. */
    static constexpr std::uint64_t kHeldPerTextByte = 3;

    std::uint64_t m_held = 0;
};

} // namespace zel
