#pragma once

#include <string_view>

namespace penctl {

/** Writes a text to standard output as it is. Raises Failure (74) when that fails (a full disk, say), without
 * words when nobody reads it any more. */
void print(std::string_view text);

/** Writes a line to standard error: what a person may want to know and a script does not read. */
void note(std::string_view text);

/** Brings what was printed out; fails as print() does. */
void finishOutput();

} // namespace penctl
