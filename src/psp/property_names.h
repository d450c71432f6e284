#pragma once

#include <cstdint>
#include <string>

namespace zel {

/** The name of a pen property as diagnostics show it; "0x%04x" for an id that has none. No request
 *  carries a name and no operation depends on one. */
std::string propertyName(std::uint16_t id);

} // namespace zel
