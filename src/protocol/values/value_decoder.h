#pragma once

#include "protocol/bytes/big_endian.h"
#include "protocol/bytes/byte_source.h"
#include "protocol/values/decode_limits.h"
#include "protocol/values/value.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace zel {

/** Decodes values. The input may be hostile: nesting and memory are limited (see decode_limits.h), and a
 *  count alone never causes an allocation. Throws ZELException for unknown types, bad escapes and exceeded
 *  limits, and IOException when bytes are missing. Use one decoder for a whole answer, because the limits
 *  apply to the answer. One thread at a time.
 *
 *      ByteSource source(in);
 *      const Value value = ValueDecoder(source, VALUE_HEADER_LENGTH).decode();
 */
class ValueDecoder
{
public:
    ValueDecoder(ByteSource &source, std::uint16_t headerLength) noexcept
        : m_source(source), m_headerLength(headerLength)
    {
    }

    /** Absent for the "any type" code, as in all functions below. */
    Value decode();
    /** Reads the type code and skips the rest of the header. */
    std::uint8_t takeHeader();
    Value decodeBody(std::uint8_t type);
    Value decodeBody(ValueType type) { return decodeBody(static_cast<std::uint8_t>(type)); }
    Value decodeValueArray(std::uint32_t count);
    Value decodeDataArray(std::uint32_t count, std::uint8_t elementType);
    Value decodeTerminatedArray();
    Value decodeEscapedBinary();

    // For those who take an answer piece by piece and hold no value of it.

    /** The type code of a value whose header is skipped. */
    ValueType takeType() { return static_cast<ValueType>(takeHeader()); }
    /** The element count of a value array. */
    std::uint32_t takeCount() { return loadBigEndian<std::uint16_t>(m_source.take(2)); }
    /** Stands for an array as long as its elements are taken. */
    NestingLevel enterArray() noexcept { return NestingLevel(m_depth); }
    /** The payload of a number of that type. */
    std::uint64_t takeNumber(ValueType type);
    /** Appends the bytes of a binary to a block of the caller's. Returns how many. */
    std::uint32_t takeBinary(GrowingBlock &target);

private:
    Value decodeString();
    Value decodeBinary();
    std::uint32_t takeBinarySize();
    ValueList decodeValues(std::uint32_t count);
    ValueList decodeBodies(std::uint32_t count, std::uint8_t type);
    ValueList decodeUntilTerminator();
    ValueList bodilessElements(std::uint32_t count, ValueType type);
    std::uint8_t takeEscaped();
    void skipHeaderRest();

    ByteSource &m_source;
    TreeBudget m_budget;
    int m_depth = 0;
    std::uint16_t m_headerLength;
};

/** Decodes the first value. Further bytes are ignored. */
Value decodeValue(std::span<const std::uint8_t> bytes);

/** The text of a string's body: the bytes before the first zero byte, or all of them. Borrowed. */
std::string_view textUpToZero(std::span<const std::uint8_t> bytes) noexcept;

} // namespace zel
