#pragma once

#include "json_reader.h"

namespace pensim {

// A typed value: {"short16": 5}, {"string": "x"}, {"binary": "0a ff"}, {"array": [..]}, {"data_array":
// {"type": "short16", "items": [..]}}, {"null": true} and so on.
Value parseValue(const nlohmann::json &json, const std::string &place);

// A rule for an answer: {"instruction": "U0PG", "occurrence": 3, "status": -9002}.
RuleSpec parseRule(const nlohmann::json &json, const std::string &place, const std::string &trigger);

// Appends those of the object's "faults" that the trigger ("instruction", "connection" or "list") names; the
// others must have the other trigger.
void readRules(JsonReader &reader, const std::string &trigger, const std::string &otherTrigger,
               std::vector<RuleSpec> &rules);

} // namespace pensim
