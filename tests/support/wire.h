#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

/** The pen protocol's byte forms, put together by hand for tests: nothing here calls the library. */
namespace zel::test {

using Bytes = std::vector<std::uint8_t>;

inline Bytes operator+(Bytes left, const Bytes &right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/** These bytes so many times. */
inline Bytes repeated(const Bytes &bytes, std::size_t times)
{
    Bytes all;
    all.reserve(bytes.size() * times);
    for (std::size_t i = 0; i < times; ++i)
        all.insert(all.end(), bytes.begin(), bytes.end());
    return all;
}

namespace wire {

/** A big-endian integer of the given number of bytes. */
inline Bytes bigEndian(std::uint64_t value, int width)
{
    Bytes bytes;
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
    return bytes;
}

inline Bytes raw(std::string_view text)
{
    return {text.begin(), text.end()};
}

inline Bytes null()
{
    return {0x00};
}

inline Bytes boolean(bool value)
{
    return {0x01, static_cast<std::uint8_t>(value)};
}

inline Bytes byte(std::uint8_t value)
{
    return {0x02, value};
}

inline Bytes short16(std::uint16_t value)
{
    return Bytes{0x03} + bigEndian(value, 2);
}

inline Bytes int32(std::uint32_t value)
{
    return Bytes{0x04} + bigEndian(value, 4);
}

inline Bytes long64(std::uint64_t value)
{
    return Bytes{0x05} + bigEndian(value, 8);
}

inline Bytes string(std::string_view text)
{
    return Bytes{0x06} + bigEndian(text.size() + 1, 2) + raw(text) + Bytes{0x00};
}

inline Bytes binary(const Bytes &data)
{
    return Bytes{0x07} + bigEndian(data.size(), 4) + data;
}

inline Bytes list(const std::vector<Bytes> &elements)
{
    Bytes bytes = Bytes{0x08} + bigEndian(elements.size(), 2);
    for (const Bytes &element : elements)
        bytes = std::move(bytes) + element;
    return bytes;
}

/** An answer without a result: its status alone. */
inline Bytes status(std::int32_t code)
{
    return list({int32(static_cast<std::uint32_t>(code))});
}

/** An answer of status 0 with a result. */
inline Bytes result(const Bytes &value)
{
    return list({int32(0), value});
}

/** An instruction with its arguments under the keys 0, 1, 2, ... */
inline Bytes request(std::string_view code, const std::vector<Bytes> &arguments = {})
{
    Bytes bytes = raw(code) + Bytes{static_cast<std::uint8_t>(arguments.size())};
    for (std::size_t key = 0; key < arguments.size(); ++key)
        bytes = std::move(bytes) + Bytes{static_cast<std::uint8_t>(key)} + arguments[key];
    return bytes;
}

} // namespace wire

} // namespace zel::test
