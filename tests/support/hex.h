#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/** The bytes that an even number of hexadecimal digits stands for. */
template <std::size_t Size>
std::array<std::uint8_t, Size> bytesOfHex(std::string_view digits)
{
    std::array<std::uint8_t, Size> bytes{};
    for (std::size_t i = 0; i < Size; ++i)
        bytes[i] = static_cast<std::uint8_t>(std::stoul(std::string(digits.substr(2 * i, 2)), nullptr, 16));
    return bytes;
}
