#pragma once

#include "protocol/value.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/** Appends the text forms of values to one text. A binary that holds an encoded value is shown as that
 *  value in brackets; such binaries may sit in each other as deep as the peer likes, so they are shown
 *  from their bytes where they lie: no trees, no recursion, time in proportion to the bytes. */
class ValueText
{
public:
    static constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();

    /** longest: of the whole text, checked before each line. */
    explicit ValueText(std::string &out, std::size_t longest = kUnlimited) noexcept
        : m_out(out), m_longest(longest)
    {
    }

    /** Null is an absent element. Throws ZELException when the text becomes too long. */
    void append(const Value *value, std::int32_t indent);

private:
    /** An array whose elements are being shown, or an encoded value whose bracket is open. */
    struct Open {
        enum class Kind { Bracket, Array, TypedArray, TerminatedArray };
        Kind kind;
        ValueType elementType;   // of a typed array
        std::uint32_t remaining; // elements still to show
        std::int32_t indent;     // of the elements
    };

    void appendTypeName(ValueType type);
    template <class Number>
    void appendNumber(Number number);
    void appendScalar(ValueType type, std::uint64_t scalar);
    void appendQuoted(std::string_view text);
    void appendBytes(std::span<const std::uint8_t> front, std::uint64_t size);
    void appendLineBreak(std::int32_t indent);
    void appendElements(const ValueList &elements, std::int32_t indent);

    void appendEncoded(ValueType type, std::int32_t indent);
    void appendEncodedContents(ValueType type, std::int32_t indent);
    void appendEncodedEscapedBinary();
    bool openIfEncoded(std::span<const std::uint8_t> bytes);
    void openArray(ValueType type, std::int32_t indent);
    void showOpenElements();
    void showNextElement();
    std::uint32_t takeTerminatedCount();
    template <class UInt>
    UInt take();
    ValueType takeType() { return static_cast<ValueType>(take<std::uint8_t>()); }
    std::span<const std::uint8_t> takeBytes(std::size_t count);

    std::string &m_out;
    std::size_t m_longest;
    const std::uint8_t *m_at = nullptr; // in an encoded value that has been scanned: no end is tested
    std::vector<Open> m_open;
    std::vector<std::uint32_t> m_terminatedCounts; // of the arrays ahead, the next one last
};

} // namespace zel
