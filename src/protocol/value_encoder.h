#pragma once

#include "protocol/byte_block.h"
#include "protocol/value.h"

#include <cstddef>
#include <cstdint>

/** The wire form of values, written straight into memory. */
namespace zel {

/** Size of the wire form with its type code. Raises ZELException when the value has none: an unknown type
 *  or an absent element anywhere in it. What it accepts, the writers accept. */
std::size_t encodedSize(const Value &value);
std::size_t encodedBodySize(const Value &value);

/** Write a value whose size was asked for; return the position behind it. */
std::uint8_t *writeEncoded(std::uint8_t *at, const Value &value) noexcept;
std::uint8_t *writeEncodedBody(std::uint8_t *at, const Value &value) noexcept;

/** Raises ZELException also when the wire form is too long for a binary. */
ByteBlock encodeToBlock(const Value &value, std::uint32_t &size);

} // namespace zel
