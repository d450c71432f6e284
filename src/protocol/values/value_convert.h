#pragma once

#include "protocol/values/value.h"

#include <cstddef>
#include <cstdint>
#include <string>

/** How results become the host's numbers, texts and lists. A null pointer is an absent value. */
namespace zel {

/** The payload of a bool, byte, short16, int32 or long64; 0 for anything else. */
std::uint64_t toRawNumber(const Value *value) noexcept;

/** As toRawNumber, cut to the width asked for. Never throws. */
template <class UInt>
UInt toNumber(const Value *value) noexcept
{
    return static_cast<UInt>(toRawNumber(value));
}

/** How long the texts made of one answer may become together: see TreeBudget. */
class TextAllowance
{
public:
    /** Null is an absent value. */
    explicit TextAllowance(const Value *answer);

    std::size_t left() const noexcept { return m_left; }
    void use(std::size_t length) noexcept { m_left -= length; }

private:
    std::size_t m_left;
};

/** A string's text, an empty text for an absent value, the text form of any other type. Throws ZELException
 *  when the text form becomes longer than the bytes of the answer pay for. */
std::string toText(const Value *value);
/** Likewise, of several texts of one answer. */
std::string toText(const Value *value, TextAllowance &allowance);
/** An array's elements; throws ZELException on anything else. */
const ValueList &toList(const Value *value);
/** An element that the caller cannot do without; ZELException when the list is too short. Null when the
 *  element decoded to no value. */
const Value *elementAt(const ValueList &list, std::size_t index);

/** Absent, or of type null. */
bool isNull(const Value *value) noexcept;
/** A bool, byte, short16, int32 or long64. */
bool isNumber(const Value *value) noexcept;
/** A number other than 0, or any type that is neither a number nor null. */
bool isNonZero(const Value *value) noexcept;

} // namespace zel
