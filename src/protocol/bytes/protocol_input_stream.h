#pragma once

#include "protocol/bytes/byte_array.h"

#include <cstdint>
#include <istream>

namespace zel {

/** Typed big-endian reads on a borrowed stream. Takes exactly the bytes asked for: what lies behind
 *  them may not have been sent yet. Short input raises IOException. Belongs to one connection, whose
 *  lock serialises its use. */
class ProtocolInputStream
{
public:
    explicit ProtocolInputStream(std::istream &stream) noexcept : m_stream(&stream) {}
    virtual ~ProtocolInputStream() = default;
    ProtocolInputStream(const ProtocolInputStream &) = delete;
    ProtocolInputStream &operator=(const ProtocolInputStream &) = delete;

    /** Fetches count bytes in chunks of 64 KiB, 128 KiB, ..., so that memory grows only as data
     *  arrives: the count is the peer's word. A count below 1 leaves the target alone. */
    virtual void read(ByteArray &target, std::int32_t count);
    virtual void read(std::uint8_t *target, std::uint32_t count);
    /** A count below 1 reads nothing. */
    virtual void readFully(std::uint8_t *target, std::int32_t count);
    virtual std::uint8_t readByte();
    virtual std::uint16_t readShort();
    virtual std::uint32_t readInt();
    virtual std::uint64_t readLong();
    /** Skipping past the end sets the stream's failure state and does not throw; a negative count does. */
    virtual void skipBytes(std::int32_t count);
    virtual bool isAtEnd();

    bool isBad() const { return m_stream->fail(); }
    std::istream &stream() const noexcept { return *m_stream; }

    [[noreturn]] static void throwReadFailure(std::int32_t count);
    [[noreturn]] static void throwSkipFailure(std::int32_t count);

private:
    std::istream *m_stream;
};

} // namespace zel
