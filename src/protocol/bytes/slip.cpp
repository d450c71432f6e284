#include "protocol/bytes/slip.h"

#include <algorithm>
#include <cstring>

namespace zel::slip {

namespace {

constexpr std::uint64_t kOnes = 0x0101010101010101;

constexpr bool isSpecial(std::uint8_t byte) noexcept
{
    return byte == kEnd || byte == kEscape;
}

constexpr std::uint64_t zeroBytes(std::uint64_t word) noexcept
{
    return (word - kOnes) & ~word & (kOnes << 7);
}

// Tests eight bytes at a time, because strokes can be megabytes long.
bool hasSpecial(const std::uint8_t *eightBytes) noexcept
{
    std::uint64_t word = 0;
    std::memcpy(&word, eightBytes, sizeof word);
    return (zeroBytes(word ^ kOnes * kEnd) | zeroBytes(word ^ kOnes * kEscape)) != 0;
}

} // namespace

std::size_t plainPrefix(std::span<const std::uint8_t> bytes) noexcept
{
    std::size_t count = 0;
    while (bytes.size() - count >= 8 && !hasSpecial(bytes.data() + count))
        count += 8;
    while (count < bytes.size() && !isSpecial(bytes[count]))
        ++count;
    return count;
}

std::size_t stuffedSize(std::span<const std::uint8_t> bytes) noexcept
{
    return bytes.size() + static_cast<std::size_t>(std::count_if(bytes.begin(), bytes.end(), isSpecial));
}

std::uint8_t *writeStuffed(std::uint8_t *at, std::span<const std::uint8_t> bytes) noexcept
{
    while (!bytes.empty()) {
        const std::size_t plain = plainPrefix(bytes);
        at = std::copy_n(bytes.begin(), plain, at);
        bytes = bytes.subspan(plain);
        if (bytes.empty())
            break;
        *at++ = kEscape;
        *at++ = bytes.front() == kEnd ? kEscapedEnd : kEscapedEscape;
        bytes = bytes.subspan(1);
    }
    return at;
}

} // namespace zel::slip
