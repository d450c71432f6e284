#include "protocol/values/value_format.h"

#include "protocol/bytes/byte_source.h"
#include "protocol/values/value_decoder.h"
#include "protocol/values/value_encoder.h"
#include "sys/exceptions.h"
#include "sys/log.h"

#include <algorithm>
#include <span>

namespace zel {

namespace {

std::span<const std::uint8_t> memory(const std::uint8_t *data, std::int32_t length) noexcept
{
    return {data, static_cast<std::size_t>(std::max(length, 0))};
}

bool isCountable(std::uint8_t type) noexcept
{
    return type <= static_cast<std::uint8_t>(ValueType::Binary) ||
           type == static_cast<std::uint8_t>(ValueType::AnyType);
}

Value decodeAndCount(ByteSource &source, std::uint16_t headerLength, std::uint32_t &byteCount)
{
    ValueDecoder decoder(source, headerLength);
    const std::uint8_t type = decoder.takeHeader();
    if (!isCountable(type)) {
        LogError("ValueFormatV1_0::decodeAndCountBytes - Unknown value type: ", type);
        throw ZELException();
    }
    const std::uint64_t before = source.taken();
    Value value = decoder.decodeBody(type);
    if (!value.isAbsent())
        byteCount = static_cast<std::uint32_t>(headerLength + (source.taken() - before));
    return value;
}

} // namespace

bool ValueFormatV1_0::isValidEncoding(const std::uint8_t *data, std::int32_t length)
try {
    ByteSource source(memory(data, length));
    ValueDecoder(source, m_headerLength).decode();
    return true;
} catch (...) {
    return false;
}

Value ValueFormatV1_0::decode(ProtocolInputStream &in)
{
    ByteSource source(in);
    return ValueDecoder(source, m_headerLength).decode();
}

void ValueFormatV1_0::encode(ProtocolOutputStream &out, const Value &value)
{
    ValueEncoder encoder;
    encoder.encode(value);
    encoder.writeTo(out);
}

bool ValueFormatV1_0::decodeAndCountBytes(const std::uint8_t *data, std::int32_t length,
                                          std::uint32_t *byteCount)
try {
    *byteCount = kNoByteCount;
    ByteSource source(memory(data, length));
    decodeAndCount(source, m_headerLength, *byteCount);
    return *byteCount < kNoByteCount;
} catch (...) {
    return false;
}

Value ValueFormatV1_0::decodeAndCountBytes(ProtocolInputStream &in, std::uint32_t *byteCount)
try {
    ByteSource source(in);
    return decodeAndCount(source, m_headerLength, *byteCount);
} catch (...) {
    *byteCount = kNoByteCount;
    throw;
}

Value ValueFormatV1_0::decodeBody(ProtocolInputStream &in, std::uint8_t type)
{
    ByteSource source(in);
    return ValueDecoder(source, m_headerLength).decodeBody(type);
}

void ValueFormatV1_0::encodeBody(ProtocolOutputStream &out, const Value &value)
{
    ValueEncoder encoder;
    encoder.encodeBody(value);
    encoder.writeTo(out);
}

Value ValueFormatV1_0::decodeValueArray(ProtocolInputStream &in, std::uint16_t count)
{
    ByteSource source(in);
    return ValueDecoder(source, m_headerLength).decodeValueArray(count);
}

Value ValueFormatV1_0::decodeDataArray(ProtocolInputStream &in, std::uint16_t count, std::uint8_t elementType)
{
    ByteSource source(in);
    return ValueDecoder(source, m_headerLength).decodeDataArray(count, elementType);
}

Value ValueFormatV1_0::decodeTerminatedArray(ProtocolInputStream &in)
{
    ByteSource source(in);
    return ValueDecoder(source, m_headerLength).decodeTerminatedArray();
}

Value ValueFormatV1_0::decodeEscapedBinary(ProtocolInputStream &in)
{
    ByteSource source(in);
    return ValueDecoder(source, m_headerLength).decodeEscapedBinary();
}

} // namespace zel
