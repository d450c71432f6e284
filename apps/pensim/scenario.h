#pragma once

#include "pen_description.h"

#include <string_view>

namespace pensim {

// How the rendezvous server departs from its ways.
struct RendezvousSpec {
    std::vector<RuleSpec> listRules;
    std::vector<RuleSpec> connectionRules;
    std::size_t fragment = 0; // see Rendezvous::setFragments()
    std::chrono::milliseconds fragmentPause{0};
};

struct Scenario {
    std::vector<PenSpec> pens; // listed in this order
    RendezvousSpec rendezvous;
};

// Three ordinary pens (PSP 4.1 with pages up to 1 MiB; PSP 4.0 of software version 0x0502; a locked one) and
// one in firmware-upgrade mode.
Scenario defaultScenario();

// Reads the JSON text of a scenario; throws std::runtime_error that names the place.
Scenario parseScenario(std::string_view json);
Scenario loadScenario(const std::filesystem::path &file);
// One pen as in a scenario's list of them.
PenSpec parsePen(std::string_view json);

} // namespace pensim
