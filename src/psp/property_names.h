#pragma once

#include <cstdint>
#include <string>

namespace zel {

/** The name of a property, for diagnostics only; "0x%04x" for an id without a name. */
std::string propertyName(std::uint16_t id);

} // namespace zel
