#pragma once

#include <nlohmann/json.hpp>

namespace penctl {

/** JSON whose keys stand in the order in which they were put in. */
using Json = nlohmann::ordered_json;

/** Writes a JSON value on lines of its own, indented; or on one line, flushed at once, for streams of values.
 * Bytes that are no UTF-8 are replaced. */
void printJson(const Json &value);
void printJsonLine(const Json &value);

} // namespace penctl
