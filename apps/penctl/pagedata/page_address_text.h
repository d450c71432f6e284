#pragma once

#include <cstdint>
#include <string>

namespace penctl {

/** The text of a page address, as every zel export writes it: the five fields with dots between, without the
 *  first when that is 0; a field of all ones is missing and stands as "*". */
std::string pageAddressText(uint64_t raw);

} // namespace penctl
