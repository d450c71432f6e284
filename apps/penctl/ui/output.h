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

/** Whether the stream may be given colours and cursor movements: a terminal that is not "dumb". */
bool drawsOn(Stream stream);

/** Whether texts on the stream may be coloured: as above, and NO_COLOR is not set. */
bool coloursOn(Stream stream);

/** Asks on the terminal unless `agreed`. Raises Failure when the answer is not yes (77), or without a
 * terminal to ask on (64), which names --yes. */
void requireConsent(bool agreed, const std::string &question);

} // namespace penctl
