#pragma once

#include "protocol/bytes/binary_buffer.h"
#include "sys/byte_block.h"

#include <array>
#include <cstdint>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace zel {

enum class ValueType : std::uint32_t {
    Null = 0,
    Bool = 1,
    Byte = 2,
    Short16 = 3,
    Int32 = 4,
    Long64 = 5,
    String = 6,
    Binary = 7,
    ValueArray = 8,
    DataArray = 9,
    TerminatedArray = 10,
    Terminator = 11,
    EscapedBinary = 14,
    AnyType = 15,
};

/** The name of a type code; "unknown" for a code that is no type. */
constexpr const char *typeName(std::int32_t code) noexcept
{
    constexpr const char *kNames[] = {
        "null",           "bool",        "byte",       "short16",          "int32",      "long64",  "string",
        "binary",         "value array", "data array", "terminated array", "terminator", "unknown", "unknown",
        "escaped binary", "any type"};
    return code < 0 || code >= std::int32_t{std::size(kNames)} ? "unknown" : kNames[code];
}

constexpr bool isArrayType(ValueType type) noexcept
{
    return type >= ValueType::ValueArray && type <= ValueType::TerminatedArray;
}

/** Whether the payload is one number, a bool included. */
constexpr bool isNumberType(ValueType type) noexcept
{
    return type >= ValueType::Bool && type <= ValueType::Long64;
}

class Value;
/** A null pointer is an absent element: one that was decoded from the "any type" code. */
using ValueList = std::vector<std::unique_ptr<Value>>;

/** A value of the protocol: null, a number, a text, bytes, or an array of values. It owns its contents. One
 *  thread at a time.
 *
 *      const std::unique_ptr<Value> value = Value::createString("text");
 *      value->getType();      // ValueType::String
 *      value->textView();     // "text"
 *      value->getInt();       // throws ZELException: the type differs
 *
 *  An answer can have millions of values. Therefore values are small: a text or bytes shorter than
 *  kInlineSize are stored inside the value, without an allocation. */
class Value
{
public:
    static constexpr std::uint32_t kInlineSize = 24;

    ~Value() = default;
    Value(const Value &) = delete;
    Value &operator=(const Value &) = delete;

    static std::unique_ptr<Value> createNull() { return createScalar(ValueType::Null, 0); }
    static std::unique_ptr<Value> createBool(bool value) { return createScalar(ValueType::Bool, value); }
    static std::unique_ptr<Value> createByte(std::uint8_t value)
    {
        return createScalar(ValueType::Byte, value);
    }
    static std::unique_ptr<Value> createShort(std::uint16_t value)
    {
        return createScalar(ValueType::Short16, value);
    }
    static std::unique_ptr<Value> createInt(std::uint32_t value)
    {
        return createScalar(ValueType::Int32, value);
    }
    static std::unique_ptr<Value> createLong(std::uint64_t value)
    {
        return createScalar(ValueType::Long64, value);
    }
    static std::unique_ptr<Value> createString(std::string_view text);
    /** A string that is wiped from memory at the end. Its copies are wiped too. */
    static std::unique_ptr<Value> createSecretString(std::string_view text);
    /** The same for a binary. */
    static std::unique_ptr<Value> createSecretBinary(std::span<const std::uint8_t> bytes);
    static std::unique_ptr<Value> createBinary(const std::uint8_t *data, std::uint32_t size);
    /** Takes over the block without a copy; only short contents are copied into the value. */
    static std::unique_ptr<Value> createBinaryOwned(ByteBlock data, std::uint32_t size);
    /** With size 0 it has no data. A negative size gives the null value. */
    static std::unique_ptr<Value> createEscapedBinary(const std::uint8_t *data, std::int32_t size);
    static std::unique_ptr<Value> createEscapedBinaryOwned(ByteBlock data, std::uint32_t size);
    static std::unique_ptr<Value> createTerminator() { return createScalar(ValueType::Terminator, 0); }
    static std::unique_ptr<Value> createValueArray(ValueList elements);
    static std::unique_ptr<Value> createDataArray(ValueList elements, std::uint32_t elementType);
    static std::unique_ptr<Value> createTerminatedArray(ValueList elements);
    /** A value with a type code only, which may be an unknown one. */
    static std::unique_ptr<Value> createBare(ValueType type);

    // The functions below throw ZELException (without text) when the value has another type.
    ValueType getType() const noexcept { return m_type; }
    bool isArray() const noexcept { return isArrayType(m_type); }
    bool getBool() const { return scalarOf(ValueType::Bool) != 0; }
    std::uint8_t getByte() const { return static_cast<std::uint8_t>(scalarOf(ValueType::Byte)); }
    std::uint16_t getShort() const { return static_cast<std::uint16_t>(scalarOf(ValueType::Short16)); }
    std::uint32_t getInt() const { return static_cast<std::uint32_t>(scalarOf(ValueType::Int32)); }
    std::uint64_t getLong() const { return scalarOf(ValueType::Long64); }
    /** The payload of a bool, byte, short16, int32 or long64. */
    std::uint64_t getNumber() const
    {
        if (!isNumberType(m_type))
            throwTypeMismatch();
        return *std::get_if<std::uint64_t>(&m_payload);
    }
    void getString(std::string &out) const { out = textView(); }
    /** The text, borrowed from the value. */
    std::string_view textView() const;
    /** For binary and escaped binary. Stores the size unless the pointer is null. Borrowed from the value. */
    const std::uint8_t *getBinary(std::uint32_t *size) const;
    /** As getBinary(). */
    std::span<const std::uint8_t> bytesView() const;
    /** A copy of the bytes. For binary and escaped binary. */
    BinaryBuffer getBinaryBuffer() const;
    /** For value, data and terminated arrays. */
    const ValueList &getArray() const;
    ValueList &getArray();
    /** The type code of a data array's elements. */
    std::uint32_t getElementType() const;
    static constexpr const char *typeName(std::int32_t code) noexcept { return zel::typeName(code); }

    /** A deep copy. A type that cannot be copied is logged, and the copy is the null value. */
    std::unique_ptr<Value> copy() const;
    void swap(Value &other) noexcept;
    /** Turns this value into a binary that contains the encoded value. */
    void pack();
    /** The reverse of pack(). Throws ZELException when this is no binary. */
    void unpack();
    /** Whether this is a binary whose bytes are exactly one encoded value. Builds no values and never throws.
     */
    bool isEncodedValue() const noexcept;
    /** Stores the value's text form, which log texts and toText() use. */
    void toString(std::string &out, std::int32_t indent = 0) const;
    /** As toString(), but appends to the text. */
    void appendTo(std::string &out, std::int32_t indent = 0) const;

private:
    struct WipeAndFree {
        std::uint32_t size = 0;
        void operator()(std::uint8_t *block) const noexcept;
    };

    /** Bytes, those of a text too, shorter than kInlineSize. */
    using ShortBytes = std::array<std::uint8_t, kInlineSize>;
    using SecretBytes = std::unique_ptr<std::uint8_t[], WipeAndFree>;
    using Payload = std::variant<std::uint64_t, ShortBytes, ByteBlock, SecretBytes, ValueList>;

    template <class Content>
    Value(ValueType type, Content &&content) noexcept
        : m_payload(std::forward<Content>(content)), m_type(type)
    {
    }

    static std::unique_ptr<Value> createScalar(ValueType type, std::uint64_t scalar)
    {
        return std::unique_ptr<Value>(new Value(type, scalar));
    }
    static std::unique_ptr<Value> createArray(ValueType type, ValueList &&elements);
    static std::unique_ptr<Value> createBytes(ValueType type, const void *data, std::size_t size,
                                              bool secret = false);
    static std::unique_ptr<Value> createBytesOwned(ValueType type, ByteBlock data, std::uint32_t size);

    [[noreturn]] static void throwTypeMismatch();
    std::uint64_t scalarOf(ValueType type) const
    {
        if (m_type != type)
            throwTypeMismatch();
        return *std::get_if<std::uint64_t>(&m_payload);
    }
    const std::uint8_t *bytes() const noexcept
    {
        if (const auto *const bytes = std::get_if<ShortBytes>(&m_payload))
            return bytes->data();
        if (const auto *const block = std::get_if<ByteBlock>(&m_payload))
            return block->get();
        return std::get_if<SecretBytes>(&m_payload)->get();
    }

    Payload m_payload;
    ValueType m_type;
    std::uint32_t m_length = 0; // length of text or bytes; element type of a data array
};

} // namespace zel
