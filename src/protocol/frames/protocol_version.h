#pragma once

#include <cstdint>

namespace zel {

/** A version of the page-transaction protocol. */
class ProtocolVersion
{
public:
    constexpr ProtocolVersion(std::uint8_t major, std::uint8_t minor) noexcept
        : m_major(major), m_minor(minor)
    {
    }

    constexpr std::uint8_t major() const noexcept { return m_major; }
    constexpr std::uint8_t minor() const noexcept { return m_minor; }

private:
    std::uint8_t m_major;
    std::uint8_t m_minor;
};

/** The only version that the library speaks. */
inline constexpr ProtocolVersion kProtocolVersion1_0{1, 0};

} // namespace zel
