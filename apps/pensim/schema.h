#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace pensim {

/** Texts from outside are bounded before they are believed. Some of the work on JSON is recursive. */
inline constexpr std::size_t kDeepestJson = 100;

/** Parses a JSON text. Throws std::runtime_error for what is no JSON, for objects with a key twice and for
 *  what is nested deeper than kDeepestJson. */
nlohmann::json parsedJson(std::string_view text);

/** Checks a value against one of the schema's definitions ("pen"), or against the whole ("scenario"). The
 *  schema is scenarios/scenario.schema.json, which is part of the program. Throws std::runtime_error, which
 *  names the place and what is wrong there.
 *
 *  Checked are the keywords that the schema uses, in the meaning of draft 7. The schema library that Debian
 *  has needs 68 packages, Qt and database clients among them; these 150 lines need none. */
void checkAgainstSchema(const nlohmann::json &value, const std::string &definition, const std::string &place);

/** The part of the schema under a JSON pointer. */
const nlohmann::json &schemaAt(const std::string &pointer);

} // namespace pensim
