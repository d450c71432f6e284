#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "host/pen_events.h"
#include "host/pen_identity.h"

namespace penctl {

/** Which pen a command is for, and how long it looks for it. */
struct PenChoice {
    /** The pen's serial text; empty for the only pen present. */
    std::string serial;
    /** How long to wait for the first pen, or for the pen named, seconds. */
    double wait = 2;
    /** The silence after an announcement that ends the list, seconds. */
    double settle = 0.3;
};

struct PresentPen {
    PenIdentity identity;
    PenRecord record;
};

/** The pens present. The library does not say when the listing is over, so it counts as over when the first
 * pen did not come within `wait`, or no further one within `settle` of the one before. */
std::vector<PresentPen> findPens(PenEvents &events, const PenChoice &choice);

/** Raises Failure (69) that tells how long was waited. */
[[noreturn]] void failWithoutPens(const PenChoice &choice);

/** The pen chosen: the one named, as soon as it is announced, or else the only one present. Raises Failure
 * when it is not there (69), or when none is named and several are present (64, naming them). */
PresentPen findPen(PenEvents &events, const PenChoice &choice);

} // namespace penctl
