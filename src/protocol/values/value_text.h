#pragma once

#include "protocol/values/value.h"
#include "sys/text_window.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace zel {

/** Composes the text form of values. A binary that holds an encoded value is shown as that value in brackets.
 */
class ValueText
{
public:
    explicit ValueText(TextWindow &out) noexcept : m_out(out) {}

    void append(const Value &value, std::int32_t indent);
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

    // The parts of a value's text, for callers that have the value's bytes only.
    void appendTypeName(ValueType type);
    /** Appends a bool or a number. */
    void appendScalar(ValueType type, std::uint64_t scalar);
    void appendQuoted(std::string_view text);
    /** size is the number of all bytes; front has at least the first ten of them. */
    void appendBytes(std::span<const std::uint8_t> front, std::uint64_t size);
    /** Appends a binary: its bytes, or the value that they encode. */
    void appendBinary(std::span<const std::uint8_t> bytes);
    void appendLineBreak(std::int32_t indent);
    void appendUnknown() { m_out << "unknown"; }
    TextWindow &window() noexcept { return m_out; }

    static constexpr std::size_t kBytesShown = 10;

private:
    TextWindow &m_out;
};

} // namespace zel
