#include "protocol/bytes/byte_array.h"

#include <cstring>

namespace zel {

void ByteArray::resize(std::uint32_t size)
{
    resizeForOverwrite(size);
    if (size > 0)
        std::memset(m_block.get(), 0, size);
}

void ByteArray::resizeForOverwrite(std::uint32_t size)
{
    m_block.reset();
    m_size = 0;
    if (size > 0)
        m_block = allocateBlock(size);
    m_size = size;
}

void ByteArray::assign(const std::uint8_t *bytes, std::uint32_t size)
{
    resizeForOverwrite(size);
    if (size > 0)
        std::memcpy(m_block.get(), bytes, size);
}

void ByteArray::adopt(ByteBlock block, std::uint32_t size) noexcept
{
    m_block = std::move(block);
    m_size = size;
}

ByteBlock ByteArray::release() noexcept
{
    m_size = 0;
    return std::move(m_block);
}

} // namespace zel
