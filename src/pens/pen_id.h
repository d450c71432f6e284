#pragma once

#include <cstdint>
#include <string>

namespace zel {

/** The 64-bit identity of a pen. Without a number it is invalid (all ones). */
class PenId
{
public:
    static constexpr std::uint64_t kInvalid = 0xFFFFFFFFFFFFFFFF;

    PenId() = default;
    /** Throws ZELException, its text the number, when a half of it is out of range. */
    explicit PenId(std::uint64_t number);

    std::uint64_t number() const noexcept { return m_number; }
    /** A raw id shows itself as plain hexadecimal. */
    void setRaw(bool raw) noexcept { m_raw = raw; }
    /** The form in which people see it: XXX-XXX-XXX-XX. */
    std::string serialText() const;

private:
    std::uint64_t m_number = kInvalid;
    bool m_raw = false;
};

} // namespace zel
