#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace penctl {

/** A text that came from a pen or a file, made fit for a terminal: control characters (escape sequences among
 *  them) and bytes that are no UTF-8 stand as "\x1b". */
std::string printable(std::string_view text);

/** How many columns a printable text takes: one for each character. */
std::size_t displayWidth(std::string_view text);

} // namespace penctl
