#pragma once

#include <cstdint>
#include <ostream>

namespace zel {

/** Typed big-endian writes on a borrowed stream; nothing is flushed here. A stream that fails raises
 *  IOException. Belongs to one connection, whose lock serialises its use. */
class ProtocolOutputStream
{
public:
    explicit ProtocolOutputStream(std::ostream &stream) noexcept : m_stream(&stream) {}
    virtual ~ProtocolOutputStream() = default;
    ProtocolOutputStream(const ProtocolOutputStream &) = delete;
    ProtocolOutputStream &operator=(const ProtocolOutputStream &) = delete;

    virtual void write(const std::uint8_t *bytes, std::uint32_t count);
    virtual void writeChecked(const std::uint8_t *bytes, std::uint32_t count);
    virtual void writeByte(std::uint8_t value);
    virtual void writeShort(std::uint16_t value);
    virtual void writeInt(std::uint32_t value);
    virtual void writeLong(std::uint64_t value);

    [[noreturn]] static void throwWriteFailure();

private:
    std::ostream *m_stream;
};

} // namespace zel
