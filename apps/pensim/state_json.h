#pragma once

#include "service.h"

#include <nlohmann/json_fwd.hpp>

namespace pensim {

/** The rendezvous server and every pen, as `state` tells them. */
nlohmann::ordered_json stateJson(Service &service);
nlohmann::ordered_json penStateJson(const Pen &pen);

/** The faults of one trigger ("instruction", "connection", "list"), behind those of the list. */
nlohmann::ordered_json faultList(const std::vector<RuleSpec> &rules, const char *trigger,
                                 nlohmann::ordered_json list);
const char *dfuStateName(DfuState state);

/** The ports and pens of a running service, for scripts. `controlPort` is 0 and `desk` empty when there is
 * none. */
std::string readyReport(Service &service, std::uint16_t controlPort, const std::string &desk = {});

} // namespace pensim
