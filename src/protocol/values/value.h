#pragma once

#include "protocol/bytes/binary_buffer.h"
#include "sys/byte_block.h"
#include "sys/secure_wipe.h"

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
using ValueList = std::vector<Value>;

/** A value of the protocol: null, a number, a text, bytes, or an array of values. It owns its contents, and
 *  is moved, not copied; copy() makes a deep copy. One thread at a time.
 *
 *      const Value value = Value::createString("text");
 *      value.getType();      // ValueType::String
 *      value.textView();     // "text"
 *      value.getInt();       // throws ZELException: the type differs
 *
 *  A value decoded from the "any type" code is absent, as is one that was made by the default constructor.
 *  One that was moved from may only be assigned to or destroyed.
 *
 *  An answer can have millions of values. Therefore values are small, and an array holds its elements
 *  themselves, not pointers to them. */
class Value
{
public:
    Value() noexcept = default;
    ~Value() = default;
    Value(Value &&) noexcept = default;
    Value &operator=(Value &&) noexcept = default;

    static Value createNull() { return createScalar(ValueType::Null, 0); }
    static Value createBool(bool value) { return createScalar(ValueType::Bool, value); }
    static Value createByte(std::uint8_t value) { return createScalar(ValueType::Byte, value); }
    static Value createShort(std::uint16_t value) { return createScalar(ValueType::Short16, value); }
    static Value createInt(std::uint32_t value) { return createScalar(ValueType::Int32, value); }
    static Value createLong(std::uint64_t value) { return createScalar(ValueType::Long64, value); }
    static Value createString(std::string_view text);
    /** A string that is wiped from memory at the end. Its copies are wiped too. */
    static Value createSecretString(std::string_view text);
    /** The same for a binary. */
    static Value createSecretBinary(std::span<const std::uint8_t> bytes);
    static Value createBinary(const std::uint8_t *data, std::uint32_t size);
    /** Takes over the block without a copy. */
    static Value createBinaryOwned(ByteBlock data, std::uint32_t size);
    /** With size 0 it has no data. A negative size gives the null value. */
    static Value createEscapedBinary(const std::uint8_t *data, std::int32_t size);
    static Value createEscapedBinaryOwned(ByteBlock data, std::uint32_t size);
    static Value createTerminator() { return createScalar(ValueType::Terminator, 0); }
    static Value createValueArray(ValueList elements);
    static Value createDataArray(ValueList elements, std::uint32_t elementType);
    static Value createTerminatedArray(ValueList elements);
    /** A value with a type code only, which may be an unknown one. */
    static Value createBare(ValueType type);

    // The functions below throw ZELException (without text) when the value has another type.
    ValueType getType() const noexcept { return m_type; }
    bool isAbsent() const noexcept { return m_type == ValueType::AnyType; }
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
    /** The text, borrowed from the value. It has an address even if it is empty. */
    std::string_view textView() const
    {
        if (m_type != ValueType::String)
            throwTypeMismatch();
        if (m_length == 0)
            return "";
        return {reinterpret_cast<const char *>(bytes()), m_length};
    }
    /** For binary and escaped binary. Stores the size unless the pointer is null. Borrowed from the value. */
    const std::uint8_t *getBinary(std::uint32_t *size) const;
    /** As getBinary(). */
    std::span<const std::uint8_t> bytesView() const
    {
        if (m_type != ValueType::Binary && m_type != ValueType::EscapedBinary)
            throwTypeMismatch();
        return {bytes(), m_length};
    }
    /** A copy of the bytes. For binary and escaped binary. */
    BinaryBuffer getBinaryBuffer() const;
    /** For value, data and terminated arrays. */
    const ValueList &getArray() const;
    ValueList &getArray();
    /** The type code of a data array's elements. */
    std::uint32_t getElementType() const;
    static constexpr const char *typeName(std::int32_t code) noexcept { return zel::typeName(code); }

    /** A deep copy. A type that cannot be copied is logged, and the copy is the null value. */
    Value copy() const;
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
    /** Bytes that are wiped before they are freed. */
    struct SecretBytes {
        SecretBytes(ByteBlock bytes, std::uint32_t length) noexcept : block(std::move(bytes)), size(length) {}
        ~SecretBytes() { secureWipe(block.get(), size); }

        ByteBlock block;
        std::uint32_t size;
    };
    using Payload =
        std::variant<std::uint64_t, ByteBlock, std::unique_ptr<SecretBytes>, std::unique_ptr<ValueList>>;

    template <class Content>
    Value(ValueType type, Content &&content) noexcept
        : m_payload(std::forward<Content>(content)), m_type(type)
    {
    }

    static Value createScalar(ValueType type, std::uint64_t scalar) { return Value(type, scalar); }
    static Value createArray(ValueType type, ValueList &&elements);
    static Value createBytes(ValueType type, const void *data, std::size_t size);
    static Value createSecret(ValueType type, const void *data, std::size_t size);
    static Value createBytesOwned(ValueType type, ByteBlock data, std::uint32_t size);

    [[noreturn]] static void throwTypeMismatch();
    std::uint64_t scalarOf(ValueType type) const
    {
        if (m_type != type)
            throwTypeMismatch();
        return *std::get_if<std::uint64_t>(&m_payload);
    }
    const std::uint8_t *bytes() const noexcept
    {
        if (const auto *const block = std::get_if<ByteBlock>(&m_payload))
            return block->get();
        return (*std::get_if<std::unique_ptr<SecretBytes>>(&m_payload))->block.get();
    }

    Payload m_payload;
    ValueType m_type = ValueType::AnyType;
    std::uint32_t m_length = 0; // length of text or bytes; element type of a data array
};

} // namespace zel
