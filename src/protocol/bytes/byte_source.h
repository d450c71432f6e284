#pragma once

#include "protocol/bytes/protocol_input_stream.h"
#include "sys/growing_block.h"

#include <cstdint>
#include <span>

namespace zel {

/** The bytes that the decoder works on: memory, or those that a stream holds in its buffer already, so
 *  that a value costs no call per byte. What the stream does not hold is fetched through the stream,
 *  exactly as many bytes as are asked for: asking for more could wait for ever. The stream stands
 *  behind the last byte taken once the source is gone; it must not be used meanwhile. */
class ByteSource
{
public:
    explicit ByteSource(std::span<const std::uint8_t> memory) noexcept;
    explicit ByteSource(ProtocolInputStream &stream);
    ~ByteSource() { detach(); }
    ByteSource(const ByteSource &) = delete;
    ByteSource &operator=(const ByteSource &) = delete;

    /** count bytes (at most 8), valid until the next call. Raises IOException when there are fewer. */
    const std::uint8_t *take(std::uint32_t count)
    {
        if (static_cast<std::size_t>(m_limit - m_at) < count)
            return takeSlowly(count);
        const std::uint8_t *const taken = m_at;
        m_at += count;
        return taken;
    }
    std::uint8_t takeByte() { return *take(1); }
    void takeInto(std::uint8_t *target, std::uint32_t count);
    /** For lengths that are the peer's word: the block grows only as data arrives. */
    void appendTo(GrowingBlock &target, std::uint32_t count);
    /** As ProtocolInputStream::skipBytes. */
    void skip(std::int32_t count);

    /** What can be had without waiting, perhaps nothing; drop takes from its front. */
    std::span<const std::uint8_t> atHand() const noexcept { return {m_at, m_limit}; }
    void drop(std::size_t count) noexcept { m_at += count; }

    /** Bytes taken so far. */
    std::uint64_t taken() const noexcept
    {
        return m_takenBefore + static_cast<std::uint64_t>(m_at - m_begin);
    }

private:
    const std::uint8_t *takeSlowly(std::uint32_t count);
    bool refill();
    void attach();
    void detach() noexcept;

    ProtocolInputStream *m_stream;
    const std::uint8_t *m_begin = nullptr;
    const std::uint8_t *m_at = nullptr;
    const std::uint8_t *m_limit = nullptr;
    std::uint64_t m_takenBefore = 0;
    std::uint8_t m_scratch[8];
};

} // namespace zel
