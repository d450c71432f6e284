#pragma once

#include "rendezvous.h"

#include <nlohmann/json_fwd.hpp>

namespace pensim {

struct Scenario {
    std::vector<PenSpec> pens; // listed in this order
    RendezvousSpec rendezvous;
};

/** Three ordinary pens (PSP 4.1 with pages up to 1 MiB; PSP 4.0 of software version 0x0502; a locked one) and
 *  one in firmware-upgrade mode. See scenarios/default.json. */
Scenario defaultScenario();

// Each of these checks what it reads against the schema and throws std::runtime_error that names the place.

Scenario parseScenario(std::string_view json);
Scenario loadScenario(const std::filesystem::path &file);
/** A pen as in a scenario's list of them; with a "count", so many. */
std::vector<PenSpec> pensOf(const nlohmann::json &json);
/** A page as in a scenario; with a "count", so many. */
std::vector<PageSpec> pagesOf(const nlohmann::json &json);

/** A fault of a pen. */
struct Fault {
    bool ofConnections = false; // otherwise of requests
    RuleSpec rule;
};
Fault faultOf(const nlohmann::json &json);

/** What parseScenario() would read as the same. */
nlohmann::ordered_json scenarioJson(const Scenario &scenario);
nlohmann::ordered_json faultJson(const RuleSpec &rule, const std::string &trigger);

} // namespace pensim
