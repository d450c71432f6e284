#pragma once

#include <cstdint>
#include <istream>
#include <string>
#include <string_view>

namespace penctl {

/** Reads the big-endian fields of a page-data file. It knows how much of the file is left, so a length that
 * the file announces is compared with that before anything is allocated or skipped. Every operation names
 * what it reads, for the error text; a file that ends too early raises FormatError. */
class FieldReader
{
public:
    FieldReader(std::istream &in, uint64_t size) : m_in(in), m_size(size) {}

    uint8_t readByte(std::string_view what) { return static_cast<uint8_t>(readNumber(1, what)); }
    uint16_t readShort(std::string_view what) { return static_cast<uint16_t>(readNumber(2, what)); }
    uint32_t readInt(std::string_view what) { return static_cast<uint32_t>(readNumber(4, what)); }
    uint64_t readLong(std::string_view what) { return readNumber(8, what); }
    std::string readBytes(uint32_t count, std::string_view what);
    void skip(uint64_t count, std::string_view what);

    uint64_t offset() const { return m_offset; }
    uint64_t remaining() const { return m_size - m_offset; }

private:
    uint64_t readNumber(uint32_t width, std::string_view what);
    void require(uint64_t count, std::string_view what) const;

    std::istream &m_in;
    uint64_t m_size;
    uint64_t m_offset = 0;
};

} // namespace penctl
