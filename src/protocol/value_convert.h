#pragma once

#include "protocol/value.h"

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

/** A string's text, an empty text for an absent value, the text form of any other type. */
std::string toText(const Value *value);
/** An array's elements; throws ZELException on anything else. */
const ValueList &toList(const Value *value);
/** Absent, or of type null. */
bool isNull(const Value *value) noexcept;
/** A number other than 0, or any type that is neither a number nor null. */
bool isNonZero(const Value *value) noexcept;

} // namespace zel
