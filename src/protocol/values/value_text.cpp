#include "protocol/values/value_text.h"

#include "protocol/bytes/big_endian.h"
#include "protocol/bytes/slip.h"
#include "protocol/values/decode_limits.h"
#include "protocol/values/encoded_value_scan.h"
#include "protocol/values/value_decoder.h"

#include <algorithm>
#include <array>
#include <memory_resource>
#include <utility>
#include <vector>

namespace zel {

namespace {

/** The name of a type in the text form. */
struct ShownName {
    char text[23] = {};
    std::size_t length = 0;

    constexpr explicit ShownName(std::string_view name)
    {
        text[length++] = '(';
        for (const char character : name)
            text[length++] = character;
        text[length++] = ')';
        text[length++] = ' ';
    }
};

template <int... Codes>
consteval std::array<ShownName, sizeof...(Codes)> shownNames(std::integer_sequence<int, Codes...>)
{
    return {ShownName(typeName(Codes))...};
}

constexpr int kNamedCodes = 16;
constexpr auto kShownNames =
    shownNames(std::make_integer_sequence<int, kNamedCodes + 1>()); // the last: unknown

constexpr std::size_t kBinaryHeader = 5; // type and length

/** Whether the bytes are one encoded binary and nothing else. */
bool isOneBinary(std::span<const std::uint8_t> bytes) noexcept
{
    return bytes.size() >= kBinaryHeader && bytes[0] == static_cast<std::uint8_t>(ValueType::Binary) &&
           loadBigEndian<std::uint32_t>(&bytes[1]) == bytes.size() - kBinaryHeader;
}

/** Composes the text of encoded values directly from their bytes. The peer may nest binaries and arrays as
 *  deep as it likes; therefore this class builds no values and does not recurse, its time is proportional to
 *  the bytes, and it allocates memory only for nesting that is deeper than in any real answer. */
class EncodedValueText
{
public:
    explicit EncodedValueText(ValueText &text) : m_text(text), m_open(&m_memory), m_counts(&m_memory) {}

    void append(std::span<const std::uint8_t> bytes)
    {
        open(bytes);
        while (!m_open.empty()) {
            if (m_open.back().remaining > 0)
                appendNextElement();
            else
                close();
        }
    }

private:
    /** An array whose elements are being composed, or encoded values whose brackets are open. */
    struct Open {
        enum class Kind : std::uint8_t { Brackets, Array, TypedArray, TerminatedArray };
        Kind kind;
        ValueType elementType;   // of a typed array
        std::uint32_t remaining; // elements still to show
        std::uint32_t levels;    // brackets, or the indentation of the elements
    };

    /** Opens the brackets of a binary that holds an encoded value, and of binaries directly inside it, then
     *  composes the value. */
    void open(std::span<const std::uint8_t> bytes)
    {
        std::uint32_t brackets = 1;
        for (; isOneBinary(bytes); bytes = bytes.subspan(kBinaryHeader))
            ++brackets;
        const bool isEncoded = scanEncodedValue(bytes, m_counts);
        brackets -= isEncoded ? 0 : 1;
        m_open.push_back({Open::Kind::Brackets, ValueType::Null, 0, brackets});
        m_text.window().repeat('[', brackets);
        m_at = bytes.data();
        if (isEncoded)
            appendContents(takeType(), 0);
        else
            appendPlain(takeBytes(bytes.size()));
    }

    void close()
    {
        const Open closed = m_open.back();
        m_open.pop_back();
        if (closed.kind == Open::Kind::Brackets)
            m_text.window().repeat(']', closed.levels);
        else if (closed.kind == Open::Kind::TerminatedArray)
            takeType();
    }

    void appendNextElement()
    {
        --m_open.back().remaining;
        const Open array = m_open.back();
        m_text.appendLineBreak(static_cast<std::int32_t>(array.levels));
        const ValueType type = array.kind == Open::Kind::TypedArray ? array.elementType : takeType();
        if (type == ValueType::Binary)
            appendBinary(takeBytes(take<std::uint32_t>()));
        else
            appendContents(type, array.levels);
    }

    void appendBinary(std::span<const std::uint8_t> bytes)
    {
        if (isOneEncodedValue(bytes))
            open(bytes);
        else
            appendPlain(bytes);
    }

    void appendPlain(std::span<const std::uint8_t> bytes)
    {
        m_text.appendTypeName(ValueType::Binary);
        m_text.appendBytes(bytes, bytes.size());
    }

    /** For every type except binary. */
    void appendContents(ValueType type, std::uint32_t indent)
    {
        m_text.appendTypeName(type);
        switch (type) {
        case ValueType::Bool:
        case ValueType::Byte:
            m_text.appendScalar(type, take<std::uint8_t>());
            break;
        case ValueType::Short16:
            m_text.appendScalar(type, take<std::uint16_t>());
            break;
        case ValueType::Int32:
            m_text.appendScalar(type, take<std::uint32_t>());
            break;
        case ValueType::Long64:
            m_text.appendScalar(type, take<std::uint64_t>());
            break;
        case ValueType::String:
            m_text.appendQuoted(textUpToZero(takeBytes(take<std::uint16_t>())));
            break;
        case ValueType::ValueArray:
        case ValueType::DataArray:
        case ValueType::TerminatedArray:
            openArray(type, indent);
            break;
        case ValueType::EscapedBinary:
            appendEscapedBinary();
            break;
        case ValueType::AnyType:
            m_text.appendUnknown();
            break;
        default: // null and terminator
            break;
        }
    }

    void openArray(ValueType type, std::uint32_t indent)
    {
        Open array{Open::Kind::Array, ValueType::Null, 0, indent + 1};
        if (type == ValueType::TerminatedArray) {
            array.kind = Open::Kind::TerminatedArray;
            array.remaining = m_counts.back();
            m_counts.pop_back();
        } else {
            array.remaining = take<std::uint16_t>();
        }
        if (type == ValueType::DataArray) {
            array.kind = Open::Kind::TypedArray;
            array.elementType = takeType();
        }
        m_text.window() << array.remaining;
        // All their lines are the same, and the peer had to send no bytes for them.
        if (type == ValueType::DataArray && isBodiless(array.elementType) && !m_text.window().isKept())
            array.remaining = std::min(array.remaining, 1u);
        m_open.push_back(array);
    }

    void appendEscapedBinary()
    {
        std::uint8_t front[ValueText::kBytesShown];
        std::size_t size = 0;
        for (auto byte = take<std::uint8_t>(); byte != slip::kEnd; byte = take<std::uint8_t>()) {
            if (byte == slip::kEscape)
                byte = static_cast<std::uint8_t>(slip::unescape(take<std::uint8_t>()));
            if (size < sizeof front)
                front[size] = byte;
            ++size;
        }
        m_text.appendBytes({front, std::min(size, sizeof front)}, size);
    }

    // The scan has checked all lengths, so nothing here tests for the end.
    template <class UInt>
    UInt take()
    {
        return loadBigEndian<UInt>(takeBytes(sizeof(UInt)).data());
    }
    ValueType takeType() { return static_cast<ValueType>(take<std::uint8_t>()); }
    std::span<const std::uint8_t> takeBytes(std::size_t count)
    {
        const std::span<const std::uint8_t> bytes{m_at, count};
        m_at += count;
        return bytes;
    }

    ValueText &m_text;
    const std::uint8_t *m_at = nullptr;
    std::byte m_room[4096];
    std::pmr::monotonic_buffer_resource m_memory{m_room, sizeof m_room};
    std::pmr::vector<Open> m_open;
    EncodedCounts m_counts; // of the terminated arrays ahead, the next one last
};

} // namespace

void ValueText::append(const Value &value, std::int32_t indent)
{
    const ValueType type = value.getType();
    if (type == ValueType::Binary) {
        appendBinary(value.bytesView());
        return;
    }
    if (isArrayType(type)) {
        appendArray(type, value.getArray(), indent);
        return;
    }
    appendTypeName(type);
    switch (type) {
    case ValueType::Null:
    case ValueType::Terminator:
        break;
    case ValueType::Bool:
    case ValueType::Byte:
    case ValueType::Short16:
    case ValueType::Int32:
    case ValueType::Long64:
        appendScalar(type, value.getNumber());
        break;
    case ValueType::String:
        appendQuoted(value.textView());
        break;
    case ValueType::EscapedBinary:
        appendBytes(value.bytesView(), value.bytesView().size());
        break;
    default:
        appendUnknown();
    }
}

void ValueText::appendBinary(std::span<const std::uint8_t> bytes)
{
    if (isOneEncodedValue(bytes)) {
        EncodedValueText(*this).append(bytes);
        return;
    }
    appendTypeName(ValueType::Binary);
    appendBytes(bytes, bytes.size());
}

void ValueText::appendTypeName(ValueType type)
{
    const ShownName &name = kShownNames[std::min<std::size_t>(static_cast<std::size_t>(type), kNamedCodes)];
    m_out.append(name.text, name.length);
}

void ValueText::appendScalar(ValueType type, std::uint64_t scalar)
{
    if (type == ValueType::Bool)
        m_out << (scalar != 0 ? "true" : "false");
    else if (type == ValueType::Byte)
        m_out << scalar;
    else if (type == ValueType::Short16)
        m_out << static_cast<std::int16_t>(scalar);
    else if (type == ValueType::Int32)
        m_out << static_cast<std::int32_t>(scalar);
    else
        m_out << static_cast<std::int64_t>(scalar);
}

void ValueText::appendQuoted(std::string_view text)
{
    m_out << '"' << text << '"';
}

void ValueText::appendBytes(std::span<const std::uint8_t> front, std::uint64_t size)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    char text[kBytesShown * 3];
    std::size_t length = 0;
    for (const std::uint8_t byte : front.first(std::min(front.size(), kBytesShown))) {
        if (byte > 0xF)
            text[length++] = kDigits[byte >> 4];
        text[length++] = kDigits[byte & 0xF];
        text[length++] = ' ';
    }
    m_out << std::string_view(text, length);
    if (size > kBytesShown)
        m_out << "... ";
    m_out << '(' << size << " bytes)";
}

void ValueText::appendLineBreak(std::int32_t indent)
{
    constexpr std::size_t kIndentWidth = 4;
    m_out << '\n';
    m_out.repeat(' ', static_cast<std::size_t>(std::max(indent, 0)) * kIndentWidth);
}

void ValueText::appendArray(ValueType type, const ValueList &elements, std::int32_t indent)
{
    appendArrayHead(type, elements.size());
    for (const Value &element : elements) {
        appendLineBreak(indent + 1);
        append(element, indent + 1);
    }
}

} // namespace zel
