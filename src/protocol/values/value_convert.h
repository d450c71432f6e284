#pragma once

#include "protocol/values/value.h"

#include <cstddef>
#include <cstdint>
#include <string>

/** Converts results to the numbers and texts that the host gets. */
namespace zel {

/** The payload of a bool, byte, short16, int32 or long64; 0 for anything else. */
std::uint64_t toRawNumber(const Value &value) noexcept;

/** As toRawNumber(), cut to the width of UInt. Never throws. */
template <class UInt>
UInt toNumber(const Value &value) noexcept
{
    return static_cast<UInt>(toRawNumber(value));
}

/** Limits the length of all texts that are made of one answer together. See TreeBudget. */
class TextAllowance
{
public:
    explicit TextAllowance(const Value &answer);

    std::size_t left() const noexcept { return m_left; }
    void use(std::size_t length) noexcept { m_left -= length; }

private:
    std::size_t m_left;
};

/** A string's text; an empty text for an absent value; the text form of any other type. Throws ZELException
 *  when the text form becomes too long for the bytes of the answer. */
std::string toText(const Value &value);
/** The same, for several texts of one answer. */
std::string toText(const Value &value, TextAllowance &allowance);
/** One element. Throws ZELException when the list is too short. */
const Value &elementAt(const ValueList &list, std::size_t index);

/** Whether the value is absent or of type null. */
bool isNull(const Value &value) noexcept;
/** Whether it is a bool, byte, short16, int32 or long64. */
bool isNumber(const Value &value) noexcept;
/** Whether it is a number other than 0, or of a type that is neither a number nor null. */
bool isNonZero(const Value &value) noexcept;

} // namespace zel
