#pragma once

#include "service.h"

#include <nlohmann/json_fwd.hpp>

namespace pensim {

/** What a pen's card shows: less than `state` tells, and cheap enough to be asked ten times a second. */
nlohmann::ordered_json penCardJson(const Pen &pen);
/** The same of the rendezvous server. */
nlohmann::ordered_json rendezvousCardJson(const Rendezvous &rendezvous);

} // namespace pensim
