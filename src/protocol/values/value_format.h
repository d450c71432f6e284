#pragma once

#include "protocol/bytes/protocol_input_stream.h"
#include "protocol/bytes/protocol_output_stream.h"
#include "protocol/values/value.h"

#include <cstdint>
#include <memory>

namespace zel {

/** Bytes that open every encoded value: the type code alone. */
inline constexpr std::uint16_t VALUE_HEADER_LENGTH = 1;

/** The count that tells that no value was decoded. */
inline constexpr std::uint32_t kNoByteCount = 0xFFFFFFFF;

/** The wire form of values. Decoding gives an empty pointer for the "any type" code. */
class ValueFormat
{
public:
    virtual ~ValueFormat() = default;

    /** Whether a value can be decoded from the front of the bytes; never throws. */
    virtual bool isValidEncoding(const std::uint8_t *data, std::int32_t length) = 0;
    virtual std::unique_ptr<Value> decode(ProtocolInputStream &in) = 0;
    virtual void encode(ProtocolOutputStream &out, const Value &value) = 0;
    /** Never throws; the count is kNoByteCount when the answer is false. */
    virtual bool decodeAndCountBytes(const std::uint8_t *data, std::int32_t length,
                                     std::uint32_t *byteCount) = 0;
    /** Counts null, numbers, strings and binaries; other types throw ZELException. */
    virtual std::unique_ptr<Value> decodeAndCountBytes(ProtocolInputStream &in, std::uint32_t *byteCount) = 0;
};

/** Protocol version 1.0. Holds no state besides the header length: one object may serve any thread
 *  whose stream it is given. */
class ValueFormatV1_0 : public ValueFormat
{
public:
    /** A header longer than 1 means bytes behind the type code that decoding skips unread. */
    explicit ValueFormatV1_0(std::uint16_t headerLength = VALUE_HEADER_LENGTH) noexcept
        : m_headerLength(headerLength)
    {
    }

    bool isValidEncoding(const std::uint8_t *data, std::int32_t length) override;
    std::unique_ptr<Value> decode(ProtocolInputStream &in) override;
    void encode(ProtocolOutputStream &out, const Value &value) override;
    bool decodeAndCountBytes(const std::uint8_t *data, std::int32_t length,
                             std::uint32_t *byteCount) override;
    std::unique_ptr<Value> decodeAndCountBytes(ProtocolInputStream &in, std::uint32_t *byteCount) override;
    virtual std::unique_ptr<Value> decodeBody(ProtocolInputStream &in, std::uint8_t type);
    virtual void encodeBody(ProtocolOutputStream &out, const Value &value);
    virtual std::unique_ptr<Value> decodeValueArray(ProtocolInputStream &in, std::uint16_t count);
    virtual std::unique_ptr<Value> decodeDataArray(ProtocolInputStream &in, std::uint16_t count,
                                                   std::uint8_t elementType);
    virtual std::unique_ptr<Value> decodeTerminatedArray(ProtocolInputStream &in);
    virtual std::unique_ptr<Value> decodeEscapedBinary(ProtocolInputStream &in);

private:
    std::uint16_t m_headerLength;
};

} // namespace zel
