#pragma once

#include "protocol/bytes/big_endian.h"
#include "protocol/bytes/protocol_output_stream.h"
#include "protocol/values/value.h"
#include "sys/secure_wipe.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

/** Encodes values into memory. */
namespace zel {

/** The size of the encoded value with its type code. Throws ZELException when the value cannot be encoded,
 *  because it, or a value in it, has an unknown type, or because an element is absent. */
std::size_t encodedSize(const Value &value);

/** Writes values, and the numbers of frames, one behind the other. Raises ZELException on a value that has no
 *  wire form; what was written before it is then of no use. Short encodings, such as those of most requests,
 *  cost no allocation. Requests also carry passwords and keys, so all of them are wiped. One thread at a
 *  time. */
class ValueEncoder
{
public:
    // cppcheck-suppress uninitMemberVar ; m_short is written before it is read
    ValueEncoder() noexcept : m_begin(m_short), m_at(m_short), m_end(m_short + sizeof m_short) {}
    ~ValueEncoder() { secureWipe(m_begin, static_cast<std::size_t>(m_end - m_begin)); }
    ValueEncoder(const ValueEncoder &) = delete;
    ValueEncoder &operator=(const ValueEncoder &) = delete;

    void encode(const Value &value);
    template <std::unsigned_integral UInt>
    void writeNumber(UInt number)
    {
        m_at = storeBigEndian(room(m_at, sizeof number), number);
    }
    /** As encode(), without the type code. */
    void encodeBody(const Value &value);

    std::span<const std::uint8_t> bytes() const noexcept { return {m_begin, m_at}; }
    /** Writes all bytes to the stream at once. Throws ZELException when they are more than a frame can have,
     *  and as the stream does. */
    void writeTo(ProtocolOutputStream &out) const;

private:
    static constexpr std::size_t kShortEncoding = 512;
    static constexpr std::size_t kBodyOfNumber = sizeof(std::uint64_t);

    // Each of these takes the position to write to, and returns the position after what it wrote.
    std::uint8_t *room(std::uint8_t *at, std::size_t count)
    {
        return static_cast<std::size_t>(m_end - at) < count ? grow(at, count) : at;
    }
    std::uint8_t *grow(std::uint8_t *at, std::size_t count);
    std::uint8_t *write(std::uint8_t *at, const Value &value);
    std::uint8_t *writeBody(std::uint8_t *at, const Value &value);
    std::uint8_t *writeCompound(std::uint8_t *at, const Value &value);
    std::uint8_t *writeString(std::uint8_t *at, std::string_view text);
    std::uint8_t *writeBinary(std::uint8_t *at, std::span<const std::uint8_t> bytes);
    std::uint8_t *writeEscapedBinary(std::uint8_t *at, std::span<const std::uint8_t> bytes);
    std::uint8_t *writeElements(std::uint8_t *at, const ValueList &elements);
    std::uint8_t *writeElementBodies(std::uint8_t *at, const ValueList &elements);
    std::uint8_t *writeDataArray(std::uint8_t *at, const ValueList &elements);
    std::uint8_t *writeTerminator(std::uint8_t *at);

    std::uint8_t *m_begin;
    std::uint8_t *m_at;
    std::uint8_t *m_end;
    std::unique_ptr<std::uint8_t[]> m_onHeap;
    std::uint8_t m_short[kShortEncoding];
};

} // namespace zel
