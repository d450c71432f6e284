#include "protocol/bytes/protocol_output_stream.h"

#include "protocol/bytes/big_endian.h"
#include "sys/exceptions.h"

namespace zel {

void ProtocolOutputStream::write(const std::uint8_t *bytes, std::uint32_t count)
{
    writeChecked(bytes, count);
}

void ProtocolOutputStream::writeChecked(const std::uint8_t *bytes, std::uint32_t count)
{
    if (count == 0)
        return;
    if (m_stream->fail() || !m_stream->write(reinterpret_cast<const char *>(bytes), count))
        throwWriteFailure();
}

void ProtocolOutputStream::throwWriteFailure()
{
    throw IOException("ProtocolOutputStream::write - IOException");
}

void ProtocolOutputStream::writeByte(std::uint8_t value)
{
    write(&value, 1);
}

void ProtocolOutputStream::writeShort(std::uint16_t value)
{
    std::uint8_t bytes[sizeof value];
    storeBigEndian(bytes, value);
    write(bytes, sizeof bytes);
}

void ProtocolOutputStream::writeInt(std::uint32_t value)
{
    std::uint8_t bytes[sizeof value];
    storeBigEndian(bytes, value);
    write(bytes, sizeof bytes);
}

void ProtocolOutputStream::writeLong(std::uint64_t value)
{
    std::uint8_t bytes[sizeof value];
    storeBigEndian(bytes, value);
    write(bytes, sizeof bytes);
}

} // namespace zel
