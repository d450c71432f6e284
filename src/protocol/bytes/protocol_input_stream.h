#pragma once

#include "protocol/bytes/byte_array.h"
#include "sys/growing_block.h"
#include "sys/read_buffer.h"

#include <cstdint>
#include <istream>

namespace zel {

/** Reads big-endian numbers and bytes from a borrowed stream. It reads exactly the bytes asked for: the next
 *  ones may not have been sent yet, and waiting for them could take for ever. Throws IOException when the
 *  stream has too few. One thread at a time. */
class ProtocolInputStream
{
public:
    explicit ProtocolInputStream(std::istream &stream) noexcept : m_stream(&stream) {}
    /** A stream with this buffer, from which a ByteSource can take what it holds. */
    ProtocolInputStream(std::istream &stream, ReadBuffer &buffer) noexcept
        : m_stream(&stream), m_buffer(&buffer)
    {
    }
    virtual ~ProtocolInputStream() = default;
    ProtocolInputStream(const ProtocolInputStream &) = delete;
    ProtocolInputStream &operator=(const ProtocolInputStream &) = delete;

    /** Reads in chunks of 64 KiB, 128 KiB, and so on. The peer chooses the count, so memory must grow only as
     *  data arrives. With a count below 1 the target stays unchanged. */
    virtual void read(ByteArray &target, std::int32_t count);
    /** In the same chunks, behind what the block holds. The count must not be negative. */
    void appendTo(GrowingBlock &target, std::int32_t count);
    virtual void read(std::uint8_t *target, std::uint32_t count);
    /** With a count below 1, reads nothing. */
    virtual void readFully(std::uint8_t *target, std::int32_t count);
    virtual std::uint8_t readByte();
    virtual std::uint16_t readShort();
    virtual std::uint32_t readInt();
    virtual std::uint64_t readLong();
    /** Skipping beyond the end sets the stream's failbit and does not throw. A negative count throws
     *  IOException. */
    virtual void skipBytes(std::int32_t count);
    virtual bool isAtEnd();

    bool isBad() const { return m_stream->fail(); }
    std::istream &stream() const noexcept { return *m_stream; }
    /** Null when the stream's buffer does not show what it holds. */
    ReadBuffer *buffer() const noexcept { return m_buffer; }

    [[noreturn]] static void throwReadFailure(std::int32_t count);
    [[noreturn]] static void throwSkipFailure(std::int32_t count);

private:
    std::istream *m_stream;
    ReadBuffer *m_buffer = nullptr;
};

} // namespace zel
