#pragma once

#include "protocol/values/value.h"
#include "sys/text_window.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace zel {

/** Shows values in their text form. A binary that holds an encoded value is shown as that value in
 *  brackets. */
class ValueText
{
public:
    explicit ValueText(TextWindow &out) noexcept : m_out(out) {}

    /** Null is an absent element. */
    void append(const Value *value, std::int32_t indent);
    void appendArray(ValueType type, const ValueList &elements, std::int32_t indent);

    void appendNumber(ValueType type, std::uint64_t payload)
    {
        appendTypeName(type);
        appendScalar(type, payload);
    }
    /** The elements follow, each behind a line break. */
    void appendArrayHead(ValueType type, std::size_t count)
    {
        appendTypeName(type);
        m_out << count;
    }

    // The parts of a value's text, for those who have no value but its bytes.
    void appendTypeName(ValueType type);
    /** A bool or a number, from its payload. */
    void appendScalar(ValueType type, std::uint64_t scalar);
    void appendQuoted(std::string_view text);
    /** front: at least the first ten of so many bytes. */
    void appendBytes(std::span<const std::uint8_t> front, std::uint64_t size);
    void appendLineBreak(std::int32_t indent);
    void appendUnknown() { m_out << "unknown"; }
    TextWindow &window() noexcept { return m_out; }

    static constexpr std::size_t kBytesShown = 10;

private:
    void appendBinary(std::span<const std::uint8_t> bytes);

    TextWindow &m_out;
};

} // namespace zel
