#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace zel {

/** Owns a copy of a binary's bytes, with a zero byte after them. Pieces can be added; they are borrowed, and
 *  appended when size() or data() is called. One thread at a time. */
class BinaryBuffer
{
public:
    BinaryBuffer(const std::uint8_t *bytes, std::uint32_t size);
    BinaryBuffer(const BinaryBuffer &) = delete;
    BinaryBuffer &operator=(const BinaryBuffer &) = delete;

    /** The piece must live until the next call of size() or data(). */
    void addPiece(BinaryBuffer &piece);
    std::uint32_t size();
    const std::uint8_t *data();

private:
    void mergePieces();

    std::unique_ptr<std::uint8_t[]> m_bytes;
    std::uint32_t m_size;
    std::vector<BinaryBuffer *> m_pieces;
};

} // namespace zel
