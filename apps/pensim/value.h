#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace pensim {

using Bytes = std::vector<std::uint8_t>;

/** Shared, because strokes can have several MiB: a pen's pages and its answers use the same bytes. */
using SharedBytes = std::shared_ptr<const Bytes>;

/** Type codes as they stand on the wire. */
enum class Type : std::uint8_t {
    null = 0,
    boolean = 1,
    byte = 2,
    short16 = 3,
    int32 = 4,
    long64 = 5,
    string = 6,
    binary = 7,
    array = 8,
    dataArray = 9,
    terminatedArray = 10,
    terminator = 11,
    escapedBinary = 14,
    any = 15,
};

/** A value of the protocol. It can be copied. It shares no code with the client library, so that every
 *  exchange tests two independent implementations against each other. */
class Value
{
public:
    Value() = default; // null

    static Value null();
    /** For types that have a number, or no contents. */
    static Value ofNumber(Type type, std::uint64_t number);
    static Value boolean(bool value);
    static Value byte(std::uint8_t value);
    static Value short16(std::uint16_t value);
    static Value int32(std::uint32_t value);
    static Value long64(std::uint64_t value);
    static Value string(std::string text);
    static Value binary(Bytes bytes);
    static Value binary(SharedBytes bytes);
    static Value escapedBinary(Bytes bytes);
    static Value terminator();
    static Value any();
    static Value array(std::vector<Value> items);
    static Value dataArray(Type elementType, std::vector<Value> items);
    static Value terminatedArray(std::vector<Value> items);

    Type type() const { return m_type; }
    bool isNumber() const { return m_type >= Type::boolean && m_type <= Type::long64; }
    bool isArray() const { return m_type >= Type::array && m_type <= Type::terminatedArray; }

    /** Each returns 0 or nothing when the value has another type. */
    std::uint64_t number() const { return m_number; }
    const std::string &text() const { return m_text; }
    const Bytes &bytes() const;
    const std::vector<Value> &items() const { return m_items; }
    Type elementType() const { return m_elementType; }

    /** One line for logs: int32 7, "text", binary 0a 0b 0c .. (300 bytes), [a, b]. */
    std::string toLogText() const;

    friend bool operator==(const Value &left, const Value &right);

private:
    explicit Value(Type type, std::uint64_t number = 0);
    Value(Type type, std::vector<Value> items, Type elementType);

    Type m_type = Type::null;
    Type m_elementType = Type::null;
    std::uint64_t m_number = 0;
    std::string m_text;
    SharedBytes m_bytes;
    std::vector<Value> m_items;
};

} // namespace pensim
