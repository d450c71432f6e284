#pragma once

#include <string_view>

namespace penctl {

/** Writes a text to standard output as it is. */
void print(std::string_view text);

/** Writes a line to standard error: what a person may want to know and a script does not read. */
void note(std::string_view text);

/** Brings what was printed out; raises Failure when it did not all arrive (a full disk, say). */
void finishOutput();

} // namespace penctl
