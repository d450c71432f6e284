#pragma once

#include <string>

namespace penctl {

/** What a short look at the pen service tells about a pen that was not found. The library does not tell
 * whether there is a service. */
struct Whereabouts {
    bool isServiceThere = false;
    /** A sentence to add to the message; it names the command that tells more. */
    std::string advice;
};

/** serial  the pen that was looked for; empty for any */
Whereabouts lookForPen(const std::string &serial);

} // namespace penctl
