#pragma once

#include "protocol/values/value.h"

#include <cstddef>
#include <cstdint>

/** The limits on what a peer can make the decoder build. The decoder and the scan for encoded values use the
 *  same limits, so that they accept the same bytes. */
namespace zel {

/** Elements of these types take no bytes in a data array. */
constexpr bool isBodiless(ValueType type) noexcept
{
    return type == ValueType::Null || type == ValueType::Terminator || type == ValueType::AnyType;
}

/** How deep arrays may be nested. Deeper input is refused. */
inline constexpr int kDeepestNesting = 256;

/** Adds one to the depth in its constructor and subtracts it in its destructor. */
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

/** Counts the memory that one answer takes: the decoded values, and the texts made of them for the host.
 *  Together they must not exceed 64 bytes for each byte received plus 16 MiB. A value with a body cannot
 *  exceed this, because its own bytes were received. Two things cost the peer no bytes: elements of a data
 *  array whose type has no body, and the indentation of deeply nested elements. These are admitted only as
 *  long as the budget lasts. */
class TreeBudget
{
public:
    void addValues(std::uint64_t count) noexcept { m_held += count * kBytesPerValue; }
    void addBytes(std::uint64_t count) noexcept { m_held += count; }

    /** Adds count values without a body. Returns whether they are still within the budget. An absent element
     *  counts as a value, because it becomes a null value later. */
    [[nodiscard]] bool admit(std::uint64_t count, std::uint64_t received) noexcept
    {
        addValues(count);
        return m_held <= limit(received);
    }

    /** How long all texts made of the values may become together. */
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
    /** A value, the room to spare that it may have behind it in its array, and a small block of its own. */
    static constexpr std::uint64_t kBytesPerValue = 64;
    /** A growing text is copied to a block of twice its size, and copied once more for the host. */
    static constexpr std::uint64_t kHeldPerTextByte = 3;

    std::uint64_t m_held = 0;
};

} // namespace zel
