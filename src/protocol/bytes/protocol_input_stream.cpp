#include "protocol/bytes/protocol_input_stream.h"

#include "protocol/bytes/big_endian.h"
#include "sys/exceptions.h"
#include "sys/log.h"

#include <algorithm>

namespace zel {

namespace {

constexpr std::uint32_t kFirstChunk = 65536;

char *asChars(std::uint8_t *bytes) noexcept
{
    return reinterpret_cast<char *>(bytes);
}

} // namespace

void ProtocolInputStream::read(ByteArray &target, std::int32_t count)
{
    if (count < 1)
        return;
    GrowingBlock bytes;
    appendTo(bytes, count);
    target.adopt(bytes.release(), static_cast<std::uint32_t>(count));
}

void ProtocolInputStream::appendTo(GrowingBlock &target, std::int32_t count)
try {
    std::uint32_t chunk = kFirstChunk;
    for (auto missing = static_cast<std::uint32_t>(count); missing > 0; chunk *= 2) {
        const std::uint32_t part = std::min(missing, chunk);
        readFully(target.room(part), static_cast<std::int32_t>(part));
        target.added(part);
        missing -= part;
    }
} catch (const IOException &) {
    throwReadFailure(count);
}

void ProtocolInputStream::read(std::uint8_t *target, std::uint32_t count)
{
    readFully(target, static_cast<std::int32_t>(count));
}

void ProtocolInputStream::readFully(std::uint8_t *target, std::int32_t count)
{
    if (count < 1)
        return;
    if (isBad() || !m_stream->read(asChars(target), count))
        throwReadFailure(count);
}

std::uint8_t ProtocolInputStream::readByte()
{
    std::uint8_t byte = 0;
    readFully(&byte, 1);
    return byte;
}

std::uint16_t ProtocolInputStream::readShort()
{
    std::uint8_t bytes[2];
    readFully(bytes, sizeof bytes);
    return loadBigEndian<std::uint16_t>(bytes);
}

std::uint32_t ProtocolInputStream::readInt()
{
    std::uint8_t bytes[4];
    readFully(bytes, sizeof bytes);
    return loadBigEndian<std::uint32_t>(bytes);
}

std::uint64_t ProtocolInputStream::readLong()
{
    std::uint8_t bytes[8];
    readFully(bytes, sizeof bytes);
    return loadBigEndian<std::uint64_t>(bytes);
}

void ProtocolInputStream::skipBytes(std::int32_t count)
{
    if (count < 0)
        throwSkipFailure(count);
    // Not istream::ignore(): after skipping it looks at the next byte, and a socket would wait for that.
    char skipped[256];
    while (count > 0) {
        const std::int32_t part = std::min(count, static_cast<std::int32_t>(sizeof skipped));
        if (!m_stream->read(skipped, part))
            return;
        count -= part;
    }
}

bool ProtocolInputStream::isAtEnd()
{
    try {
        if (m_stream->get() == std::istream::traits_type::eof())
            return true;
    } catch (const IOException &) { // the connection was reset
        return true;
    }
    m_stream->unget();
    return false;
}

void ProtocolInputStream::throwReadFailure(std::int32_t count)
{
    throw IOException(FormatLogText("ProtocolInputStream::read - failed reading %d bytes", count));
}

void ProtocolInputStream::throwSkipFailure(std::int32_t count)
{
    LogError("Error: ProtocolInputStream::skipBytes - skipping ", count, " bytes");
    throw IOException(FormatLogText("ProtocolInputStream::skipBytes - failed skipping %d bytes", count));
}

} // namespace zel
