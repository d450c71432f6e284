#include "pagedata/field_reader.h"

#include <algorithm>
#include <array>
#include <limits>

#include <fmt/format.h>

#include "pagedata/format_error.h"

namespace penctl {

uint64_t FieldReader::readNumber(uint32_t width, std::string_view what)
{
    require(width, what);
    std::array<char, 8> bytes{};
    m_in.read(bytes.data(), width);
    if (!m_in)
        throw FormatError(fmt::format("byte {}: {} cannot be read", m_offset, what));
    uint64_t number = 0;
    for (uint32_t i = 0; i < width; ++i)
        number = number << 8 | static_cast<uint8_t>(bytes.at(i));
    m_offset += width;
    return number;
}

std::string FieldReader::readBytes(uint32_t count, std::string_view what)
{
    require(count, what);
    std::string bytes(count, '\0');
    m_in.read(bytes.data(), static_cast<std::streamsize>(count));
    if (!m_in)
        throw FormatError(fmt::format("byte {}: {} cannot be read", m_offset, what));
    m_offset += count;
    return bytes;
}

void FieldReader::skip(uint64_t count, std::string_view what)
{
    require(count, what);
    // The greatest count would mean "to the end" to ignore(); a file's size never comes near it.
    m_in.ignore(static_cast<std::streamsize>(count));
    if (!m_in || static_cast<uint64_t>(m_in.gcount()) != count)
        throw FormatError(fmt::format("byte {}: {} cannot be read", m_offset, what));
    m_offset += count;
}

void FieldReader::require(uint64_t count, std::string_view what) const
{
    if (count > remaining())
        throw FormatError(fmt::format("byte {}: {} should take {} {}, but only {} {} left", m_offset, what,
                                      count, count == 1 ? "byte" : "bytes", remaining(),
                                      remaining() == 1 ? "is" : "are"));
}

} // namespace penctl
