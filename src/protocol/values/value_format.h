#pragma once

#include "protocol/bytes/protocol_input_stream.h"
#include "protocol/bytes/protocol_output_stream.h"
#include "protocol/values/value.h"

#include <cstdint>

namespace zel {

/** The length of the header of an encoded value: it is the type code alone. */
inline constexpr std::uint16_t VALUE_HEADER_LENGTH = 1;

/** This byte count means that no value was decoded. */
inline constexpr std::uint32_t kNoByteCount = 0xFFFFFFFF;

/** Decodes and encodes values. The "any type" code gives an absent value. */
class ValueFormat
{
public:
    virtual ~ValueFormat() = default;

    /** Whether the bytes start with a value that can be decoded. Never throws. */
    virtual bool isValidEncoding(const std::uint8_t *data, std::int32_t length) = 0;
    virtual Value decode(ProtocolInputStream &in) = 0;
    virtual void encode(ProtocolOutputStream &out, const Value &value) = 0;
    /** Never throws. When the result is false, the count is kNoByteCount. */
    virtual bool decodeAndCountBytes(const std::uint8_t *data, std::int32_t length,
                                     std::uint32_t *byteCount) = 0;
    /** Works for null, numbers, strings and binaries; other types throw ZELException. */
    virtual Value decodeAndCountBytes(ProtocolInputStream &in, std::uint32_t *byteCount) = 0;
};

/** The format of protocol version 1.0. It has no state except the header length, so several threads may use
 *  one object, each with a stream of its own. */
class ValueFormatV1_0 : public ValueFormat
{
public:
    /** When the header is longer than 1, decoding skips the bytes after the type code. */
    explicit ValueFormatV1_0(std::uint16_t headerLength = VALUE_HEADER_LENGTH) noexcept
        : m_headerLength(headerLength)
    {
    }

    bool isValidEncoding(const std::uint8_t *data, std::int32_t length) override;
    Value decode(ProtocolInputStream &in) override;
    void encode(ProtocolOutputStream &out, const Value &value) override;
    bool decodeAndCountBytes(const std::uint8_t *data, std::int32_t length,
                             std::uint32_t *byteCount) override;
    Value decodeAndCountBytes(ProtocolInputStream &in, std::uint32_t *byteCount) override;
    virtual Value decodeBody(ProtocolInputStream &in, std::uint8_t type);
    virtual void encodeBody(ProtocolOutputStream &out, const Value &value);
    virtual Value decodeValueArray(ProtocolInputStream &in, std::uint16_t count);
    virtual Value decodeDataArray(ProtocolInputStream &in, std::uint16_t count, std::uint8_t elementType);
    virtual Value decodeTerminatedArray(ProtocolInputStream &in);
    virtual Value decodeEscapedBinary(ProtocolInputStream &in);

private:
    std::uint16_t m_headerLength;
};

} // namespace zel
