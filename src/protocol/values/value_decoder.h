#pragma once

#include "protocol/bytes/byte_source.h"
#include "protocol/values/decode_limits.h"
#include "protocol/values/value.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace zel {

/** Builds values from their wire form. Input may be hostile: nesting and what a tree holds are bounded,
 *  and nothing is allocated on the strength of a count alone. Unknown types, bad escapes and broken
 *  bounds raise ZELException, short input IOException. One decoder for all that belongs to one answer: the
 * bounds are the answer's. One thread at a time. */
class ValueDecoder
{
public:
    ValueDecoder(ByteSource &source, std::uint16_t headerLength) noexcept
        : m_source(source), m_headerLength(headerLength)
    {
    }

    /** Empty for the "any type" code, as from each operation below that is given it. */
    std::unique_ptr<Value> decode();
    /** The type code alone, behind which the header is skipped. */
    std::uint8_t takeHeader();
    std::unique_ptr<Value> decodeBody(std::uint8_t type);
    /** The elements of an array of that type. */
    ValueList decodeElements(ValueType type);
    std::unique_ptr<Value> decodeValueArray(std::uint32_t count);
    std::unique_ptr<Value> decodeDataArray(std::uint32_t count, std::uint8_t elementType);
    std::unique_ptr<Value> decodeTerminatedArray();
    std::unique_ptr<Value> decodeEscapedBinary();

private:
    std::unique_ptr<Value> decodeString();
    std::unique_ptr<Value> decodeBinary();
    std::unique_ptr<Value> decodeShortBinary(std::uint32_t size);
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

/** One value from the front of the bytes; what follows it is ignored. */
std::unique_ptr<Value> decodeValue(std::span<const std::uint8_t> bytes);

/** The text of a string's body: everything before the first zero byte, or all of it. Borrowed. */
std::string_view textUpToZero(std::span<const std::uint8_t> bytes) noexcept;

} // namespace zel
