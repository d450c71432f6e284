#include "pagedata/value_reader.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "pagedata/format_error.h"

namespace penctl {

namespace {

constexpr uint8_t kFrameEnd = 0xC0;
constexpr uint8_t kEscape = 0xDB;
constexpr uint8_t kEscapedEnd = 0xDC;
constexpr uint8_t kEscapedEscape = 0xDD;

FileValue number(ValueType type, int64_t value)
{
    return {type, value};
}

void keep(FileBinary &binary, uint8_t byte)
{
    if (binary.start.size() < FileBinary::kBytesKept)
        binary.start.push_back(static_cast<char>(byte));
    ++binary.size;
}

} // namespace

FileValue ValueReader::read()
{
    const ValueType type = readType();
    skipHeader();
    return readBody(type);
}

ValueType ValueReader::readType()
{
    const uint64_t at = m_in.offset();
    const uint8_t code = m_in.readByte("a value's type");
    if (code == 12 || code == 13 || code > 15)
        throw FormatError(fmt::format("byte {}: there is no value type {}", at, code));
    return static_cast<ValueType>(code);
}

void ValueReader::skipHeader()
{
    m_in.skip(m_headerLength - 1u, "a value's header");
}

FileValue ValueReader::readBody(ValueType type)
{
    if (++m_values > kMostValues)
        throw FormatError(fmt::format("byte {}: more than {} values", m_in.offset(), kMostValues));
    switch (type) {
    case ValueType::Null:
    case ValueType::Terminator:
    case ValueType::AnyType:
        return {type, {}};
    case ValueType::Bool:
        return {type, m_in.readByte("a bool") != 0};
    case ValueType::Byte:
        return number(type, m_in.readByte("a byte"));
    case ValueType::Short16:
        return number(type, static_cast<int16_t>(m_in.readShort("a short16")));
    case ValueType::Int32:
        return number(type, static_cast<int32_t>(m_in.readInt("an int32")));
    case ValueType::Long64:
        return number(type, static_cast<int64_t>(m_in.readLong("a long64")));
    case ValueType::String:
        return readString();
    case ValueType::Binary:
        return readBinary();
    case ValueType::ValueArray:
        return readValueArray();
    case ValueType::DataArray:
        return readDataArray();
    case ValueType::TerminatedArray:
        return readTerminatedArray();
    case ValueType::EscapedBinary:
        return readEscapedBinary();
    }
    throw FormatError(fmt::format("byte {}: unknown value type", m_in.offset()));
}

FileValue ValueReader::readString()
{
    std::string text = m_in.readBytes(m_in.readShort("a string's length"), "a string");
    text.resize(std::min(text.find('\0'), text.size()));
    text.shrink_to_fit(); // a file may announce many long texts that end at once
    return {ValueType::String, std::move(text)};
}

FileValue ValueReader::readBinary()
{
    const uint32_t size = m_in.readInt("a binary's length");
    const uint32_t kept = std::min(size, FileBinary::kBytesKept);
    FileBinary binary{m_in.readBytes(kept, "a binary"), size};
    m_in.skip(size - kept, "a binary");
    return {ValueType::Binary, std::move(binary)};
}

FileValue ValueReader::readEscapedBinary()
{
    FileBinary binary;
    for (;;) {
        const uint8_t byte = m_in.readByte("an escaped binary");
        if (byte == kFrameEnd)
            return {ValueType::EscapedBinary, std::move(binary)};
        keep(binary, byte == kEscape ? readEscape() : byte);
    }
}

uint8_t ValueReader::readEscape()
{
    const uint64_t at = m_in.offset();
    const uint8_t byte = m_in.readByte("an escaped binary");
    if (byte == kEscapedEnd)
        return kFrameEnd;
    if (byte == kEscapedEscape)
        return kEscape;
    throw FormatError(fmt::format("byte {}: {:02X} after an escape in an escaped binary", at, byte));
}

FileValue ValueReader::readValueArray()
{
    enterArray();
    const uint16_t count = m_in.readShort("an array's count");
    std::vector<FileValue> elements;
    for (uint16_t i = 0; i < count; ++i)
        elements.push_back(read());
    --m_depth;
    return {ValueType::ValueArray, std::move(elements)};
}

FileValue ValueReader::readDataArray()
{
    enterArray();
    const uint16_t count = m_in.readShort("an array's count");
    const ValueType elementType = readType();
    skipHeader();
    std::vector<FileValue> elements;
    for (uint16_t i = 0; i < count; ++i)
        elements.push_back(readBody(elementType));
    --m_depth;
    return {ValueType::DataArray, std::move(elements)};
}

FileValue ValueReader::readTerminatedArray()
{
    enterArray();
    std::vector<FileValue> elements;
    for (;;) {
        FileValue element = read();
        if (element.type == ValueType::Terminator || element.type == ValueType::AnyType)
            break;
        elements.push_back(std::move(element));
    }
    --m_depth;
    return {ValueType::TerminatedArray, std::move(elements)};
}

void ValueReader::enterArray()
{
    if (++m_depth > kDeepestNesting)
        throw FormatError(
            fmt::format("byte {}: arrays nested more than {} deep", m_in.offset(), kDeepestNesting));
}

} // namespace penctl
