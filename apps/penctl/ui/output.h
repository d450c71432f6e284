#pragma once

#include <string_view>

#include <nlohmann/json.hpp>

namespace penctl {

/** JSON whose keys stand in the order in which they were put in. */
using Json = nlohmann::ordered_json;

/** Writes a text to standard output as it is. */
void print(std::string_view text);

/** Writes a line to standard error: what a person may want to know and a script does not read. */
void note(std::string_view text);

/** Writes a JSON value on lines of its own, indented; or on one line, flushed at once, for streams of values.
 * Bytes that are no UTF-8 are replaced. */
void printJson(const Json &value);
void printJsonLine(const Json &value);

/** Brings what was printed out; raises Failure when it did not all arrive (a full disk, say). */
void finishOutput();

} // namespace penctl
