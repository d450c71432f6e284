#pragma once

#include "protocol/values/value_text.h"

#include <cstdint>
#include <span>

namespace zel {

/** If the bytes are exactly one encoded value, appends it in brackets and returns true. */
bool appendIfEncodedValue(ValueText &text, std::span<const std::uint8_t> bytes);

} // namespace zel
