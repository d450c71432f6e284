#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zel::bench {

/** Bytes of the pen service protocol as they are sent. Written independently of the library, because the
 *  benchmark must not use what it measures. */
class Bytes
{
public:
    Bytes &u8(std::uint64_t value) { return bigEndian(value, 1); }
    Bytes &u16(std::uint64_t value) { return bigEndian(value, 2); }
    Bytes &u32(std::uint64_t value) { return bigEndian(value, 4); }
    Bytes &u64(std::uint64_t value) { return bigEndian(value, 8); }
    Bytes &raw(std::string_view bytes)
    {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
        return *this;
    }

    Bytes &boolValue(bool value) { return u8(1).u8(value); }
    Bytes &byteValue(std::uint64_t value) { return u8(2).u8(value); }
    Bytes &shortValue(std::uint64_t value) { return u8(3).u16(value); }
    Bytes &intValue(std::uint64_t value) { return u8(4).u32(value); }
    Bytes &longValue(std::uint64_t value) { return u8(5).u64(value); }
    Bytes &stringValue(std::string_view text) { return u8(6).u16(text.size() + 1).raw(text).u8(0); }
    Bytes &binaryValue(std::string_view bytes) { return u8(7).u32(bytes.size()).raw(bytes); }
    Bytes &arrayOf(std::uint64_t count) { return u8(8).u16(count); }
    /** The beginning of an answer: a list of the status and the result. The result follows. */
    Bytes &goodAnswer() { return arrayOf(2).intValue(0); }

    void overwrite64(std::size_t at, std::uint64_t value)
    {
        for (int shift = 56; shift >= 0; shift -= 8)
            m_bytes[at++] = static_cast<char>(value >> shift & 0xff);
    }

    std::size_t size() const { return m_bytes.size(); }
    const char *data() const { return m_bytes.data(); }
    std::string_view view() const { return {m_bytes.data(), m_bytes.size()}; }

private:
    Bytes &bigEndian(std::uint64_t value, int width)
    {
        for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
            m_bytes.push_back(static_cast<char>(value >> shift & 0xff));
        return *this;
    }

    std::vector<char> m_bytes;
};

} // namespace zel::bench
