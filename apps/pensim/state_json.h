#pragma once

#include "service.h"

#include <nlohmann/json_fwd.hpp>

namespace pensim {

/** The rendezvous server and every pen, as `state` tells them. */
nlohmann::ordered_json stateJson(Service &service);
nlohmann::ordered_json penStateJson(const Pen &pen);

/** The ports and pens of a running service, for scripts. `controlPort` is 0 when there is none. */
std::string readyReport(Service &service, std::uint16_t controlPort);

} // namespace pensim
