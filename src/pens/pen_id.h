#pragma once

#include <cstdint>
#include <string>

namespace zel {

/** The identity of a pen, a number of 64 bits. A default-constructed id is invalid (all bits set). */
class PenId
{
public:
    static constexpr std::uint64_t kInvalid = 0xFFFFFFFFFFFFFFFF;

    PenId() = default;
    /** Throws ZELException with the number as text when the upper or lower half is out of range. */
    explicit PenId(std::uint64_t number);

    std::uint64_t number() const noexcept { return m_number; }
    /** Makes serialText() show the number in plain hexadecimal. */
    void setRaw(bool raw) noexcept { m_raw = raw; }
    /** The id as people read it: XXX-XXX-XXX-XX. */
    std::string serialText() const;

private:
    std::uint64_t m_number = kInvalid;
    bool m_raw = false;
};

} // namespace zel
