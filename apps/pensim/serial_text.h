#pragma once

#include <cstdint>
#include <string>

namespace pensim {

// The serial number that people know a pen by, of the form XXX-XXX-XXX-XX.
std::string serialText(std::uint64_t penId);

} // namespace pensim
