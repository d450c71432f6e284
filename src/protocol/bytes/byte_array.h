#pragma once

#include "sys/byte_block.h"

#include <cstdint>

namespace zel {

/** Owns bytes and knows how many. ProtocolInputStream fills it, and release() passes the memory on without a
 *  copy. One thread at a time. */
class ByteArray
{
public:
    ByteArray() = default;

    /** Discards the contents. The new bytes are all zero. */
    void resize(std::uint32_t size);
    /** As resize(), but the new bytes are undefined: for a caller that overwrites every one. */
    void resizeForOverwrite(std::uint32_t size);
    void assign(const std::uint8_t *bytes, std::uint32_t size);
    /** Takes over the block without a copy. */
    void adopt(ByteBlock block, std::uint32_t size) noexcept;
    /** Gives the block to the caller and leaves the array empty. */
    ByteBlock release() noexcept;

    std::uint32_t size() const noexcept { return m_size; }
    const std::uint8_t *data() const noexcept { return m_block.get(); }
    std::uint8_t *data() noexcept { return m_block.get(); }

private:
    ByteBlock m_block;
    std::uint32_t m_size = 0;
};

} // namespace zel
