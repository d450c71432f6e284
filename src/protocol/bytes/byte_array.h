#pragma once

#include "sys/byte_block.h"

#include <cstdint>

namespace zel {

/** An owned run of bytes that the stream reader fills and the codec hands on without copying.
 *  One thread at a time. */
class ByteArray
{
public:
    ByteArray() = default;

    /** Drops what is held; the new bytes are all zero. */
    void resize(std::uint32_t size);
    /** As resize, for a caller that overwrites every byte: contents undefined. */
    void resizeForOverwrite(std::uint32_t size);
    void assign(const std::uint8_t *bytes, std::uint32_t size);
    /** Takes the block over without copying. */
    void adopt(ByteBlock block, std::uint32_t size) noexcept;
    /** Hands the block out and leaves the array empty. */
    ByteBlock release() noexcept;

    std::uint32_t size() const noexcept { return m_size; }
    const std::uint8_t *data() const noexcept { return m_block.get(); }
    std::uint8_t *data() noexcept { return m_block.get(); }

private:
    ByteBlock m_block;
    std::uint32_t m_size = 0;
};

} // namespace zel
