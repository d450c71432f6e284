#include "pens/pen_id.h"

#include "sys/exceptions.h"
#include "sys/log.h"

#include <string_view>

namespace zel {

namespace {

// Without I, L, O, V, 0 and 1, which people confuse with other characters.
constexpr std::string_view kAlphabet = "ABCDEFGHJKMNPQRSTUWXYZ23456789";
constexpr std::uint64_t kRadix = kAlphabet.size();
constexpr std::int32_t kHighestGroup = 30 * 30 * 30 - 1;
constexpr std::int32_t kHighestSerial = 30 * 30 * 30 * 30 * 30 * 30 - 1;
constexpr std::uint64_t kCheckModulus = 877;

// Both halves are signed, although that looks wrong: a half with its top bit set passes the range test, and
// is sign-extended before it is encoded. Serial texts are fixed; do not change it.
std::int32_t groupNumber(std::uint64_t number)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(number >> 32));
}

std::int32_t serialNumber(std::uint64_t number)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(number));
}

std::int32_t checkValue(std::uint64_t number)
{
    return static_cast<std::int32_t>(number % kCheckModulus);
}

/** Writes the number's last three or two digits before end; returns what stands before them. */
std::uint64_t encode(std::uint64_t number, char *end, int width)
{
    for (; width > 0; --width, number /= kRadix)
        *--end = kAlphabet[number % kRadix];
    return number;
}

std::uint64_t widened(std::int32_t value)
{
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
}

} // namespace

PenId::PenId(std::uint64_t number) : m_number(number)
{
    if (number == kInvalid)
        return;
    if (groupNumber(number) > kHighestGroup || serialNumber(number) > kHighestSerial)
        throw ZELException(FormatLogText("0x%016llx", static_cast<unsigned long long>(number)));
}

std::string PenId::serialText() const
{
    if (m_number == kInvalid)
        return "INVALID-PEN-ID";
    if (m_raw)
        return FormatLogText("%016llx", static_cast<unsigned long long>(m_number));
    std::string text(14, '-'); // three groups of three and one of two
    char *const begin = text.data();
    encode(widened(groupNumber(m_number)), begin + 3, 3);
    const std::uint64_t front = encode(widened(serialNumber(m_number)), begin + 11, 3);
    encode(front, begin + 7, 3);
    encode(widened(checkValue(m_number)), begin + 14, 2);
    return text;
}

} // namespace zel
