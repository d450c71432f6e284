#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "ui/terminal.h"

namespace penctl {

/** JSON whose keys stand in the order in which they were put in. */
using Json = nlohmann::ordered_json;

/** Writes a text to standard output as it is. Raises Failure (74) when that fails (a full disk, say), without
 * words when nobody reads it any more. */
void print(std::string_view text);

/** Writes a JSON value on lines of its own, indented; or on one line, flushed at once, for streams of values.
 * Bytes that are not UTF-8 are replaced. */
void printJson(const Json &value);
void printJsonLine(const Json &value);

/** Flushes what was printed; fails as print() does. */
void finishOutput();

/** Writes a line to standard error: what a person may want to know and a script does not read. */
void note(std::string_view text);

} // namespace penctl
