#pragma once

#include "sys/byte_block.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <utility>

namespace zel {

/** Collects bytes whose number is not known beforehand, in one block that grows to twice its size. One thread
 *  at a time. */
class GrowingBlock
{
public:
    std::size_t size() const noexcept { return m_size; }
    std::uint8_t *data() noexcept { return m_block.get(); }

    /** Where the next count bytes go. They count when added() has said so. */
    std::uint8_t *room(std::size_t count)
    {
        if (m_capacity - m_size < count) {
            const std::size_t capacity = std::max(m_size + count, 2 * m_capacity);
            resizeBlock(m_block, capacity);
            m_capacity = capacity;
        }
        return m_block.get() + m_size;
    }
    void added(std::size_t count) noexcept { m_size += count; }

    void append(std::span<const std::uint8_t> bytes)
    {
        if (bytes.empty())
            return;
        std::memcpy(room(bytes.size()), bytes.data(), bytes.size());
        added(bytes.size());
    }

    /** Gives the block to the caller, without the room that is left, and is empty then. */
    ByteBlock release()
    {
        if (m_capacity > m_size)
            resizeBlock(m_block, m_size);
        m_size = m_capacity = 0;
        return std::move(m_block);
    }

private:
    ByteBlock m_block;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

} // namespace zel
