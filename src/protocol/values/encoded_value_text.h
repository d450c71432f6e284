#pragma once

#include "protocol/values/value_text.h"

#include <cstdint>
#include <span>

namespace zel {

/** When the bytes are exactly one encoded value, shows it in brackets and answers true. */
bool appendIfEncodedValue(ValueText &text, std::span<const std::uint8_t> bytes);

} // namespace zel
