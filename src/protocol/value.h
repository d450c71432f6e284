#pragma once

#include "protocol/binary_buffer.h"

#include <cstdint>
#include <memory>
#include <string>
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

class Value;
/** An absent element (null pointer) stands for one that decoded to no value. */
using ValueList = std::vector<std::unique_ptr<Value>>;

/** The typed datum of PSP. A value owns its text, bytes and elements. */
class Value
{
public:
    virtual ~Value();
    Value(const Value &) = delete;
    Value &operator=(const Value &) = delete;

    static std::unique_ptr<Value> createNull();
    static std::unique_ptr<Value> createBool(bool value);
    static std::unique_ptr<Value> createByte(std::uint8_t value);
    static std::unique_ptr<Value> createShort(std::uint16_t value);
    static std::unique_ptr<Value> createInt(std::uint32_t value);
    static std::unique_ptr<Value> createLong(std::uint64_t value);
    static std::unique_ptr<Value> createString(const std::string &text);
    static std::unique_ptr<Value> createBinary(const std::uint8_t *data, std::uint32_t size);
    /** Takes over the block without copying. */
    static std::unique_ptr<Value> createBinaryOwned(std::unique_ptr<std::uint8_t[]> data, std::uint32_t size);
    /** A size of 0 gives one without data, a negative size the null value. */
    static std::unique_ptr<Value> createEscapedBinary(const std::uint8_t *data, std::int32_t size);
    static std::unique_ptr<Value> createTerminator();
    static std::unique_ptr<Value> createValueArray(ValueList elements);
    static std::unique_ptr<Value> createDataArray(ValueList elements, std::uint32_t elementType);
    static std::unique_ptr<Value> createTerminatedArray(ValueList elements);

    // Accessors throw ZELException (without text) when the type differs.
    ValueType getType() const noexcept;
    bool isArray() const noexcept;
    bool getBool() const;
    std::uint8_t getByte() const;
    std::uint16_t getShort() const;
    std::uint32_t getInt() const;
    std::uint64_t getLong() const;
    void getString(std::string &out) const;
    /** Binary and escaped binary; the size is stored when asked for. Borrowed. */
    const std::uint8_t *getBinary(std::uint32_t *size) const;
    BinaryBuffer getBinaryBuffer() const;
    /** Value, data and terminated arrays. */
    const ValueList &getArray() const;
    ValueList &getArray();
    static const char *typeName(std::int32_t code) noexcept;

    /** A deep copy; a type that cannot be copied is logged and gives the null value. */
    std::unique_ptr<Value> copy() const;
    void swap(Value &other) noexcept;
    /** Turns this value into a binary that holds its encoding. */
    void pack();
    /** The reverse; throws ZELException unless this is a binary. */
    void unpack();
    /** Whether this is a binary whose bytes are exactly one encoded value. Never throws. */
    bool isEncodedValue() const noexcept;
    /** Stores the text form, as log texts and text conversions show it. */
    void toString(std::string &out, std::int32_t indent = 0) const;

private:
    Value() = default;
};

} // namespace zel
