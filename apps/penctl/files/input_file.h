#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace penctl {

/** The whole of a file, or of standard input for "-". Longer than the limit, or unreadable: Failure. */
std::vector<uint8_t> readWholeFile(const std::string &name, std::size_t limit);

} // namespace penctl
