#include "protocol/bytes/binary_buffer.h"

#include "sys/log.h"

#include <cstring>

namespace zel {

BinaryBuffer::BinaryBuffer(const std::uint8_t *bytes, std::uint32_t size)
    : m_bytes(std::make_unique_for_overwrite<std::uint8_t[]>(std::size_t{size} + 1)), m_size(size)
{
    if (size > 0)
        std::memcpy(m_bytes.get(), bytes, size);
    m_bytes[size] = 0;
    LogDebug("BinaryBuffer ctor - COPYING data");
}

void BinaryBuffer::addPiece(BinaryBuffer &piece)
{
    m_pieces.push_back(&piece);
}

std::uint32_t BinaryBuffer::size()
{
    mergePieces();
    return m_size;
}

const std::uint8_t *BinaryBuffer::data()
{
    mergePieces();
    return m_bytes.get();
}

void BinaryBuffer::mergePieces()
{
    if (m_pieces.empty())
        return;
    std::uint32_t total = m_size;
    for (BinaryBuffer *piece : m_pieces)
        total += piece->size();

    auto merged = std::make_unique_for_overwrite<std::uint8_t[]>(std::size_t{total} + 1);
    std::uint8_t *at = merged.get();
    std::memcpy(at, m_bytes.get(), m_size);
    at += m_size;
    for (const BinaryBuffer *piece : m_pieces) {
        std::memcpy(at, piece->m_bytes.get(), piece->m_size);
        at += piece->m_size;
    }
    *at = 0;

    m_bytes = std::move(merged);
    m_size = total;
    m_pieces.clear();
}

} // namespace zel
