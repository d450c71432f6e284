#pragma once

#include <CLI/CLI.hpp>

#include "host/pen_finder.h"

namespace penctl {

/** Options that several commands share, each named and explained in one way. */

/** --wait and --settle */
void addWaiting(CLI::App &command, PenChoice &choice);

/** [PEN], --wait and --settle */
void addPen(CLI::App &command, PenChoice &choice);

/** [PEN] before other arguments: what does not look like a serial is the first of those. --wait and --settle
 */
void addPenBeforeOthers(CLI::App &command, PenChoice &choice);

/** --json */
void addJson(CLI::App &command, bool &json);

/** -y, --yes */
void addYes(CLI::App &command, bool &yes);

/** --password-file */
void addPasswordFile(CLI::App &command, std::string &file);

} // namespace penctl
