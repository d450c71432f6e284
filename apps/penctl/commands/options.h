#pragma once

#include <CLI/CLI.hpp>

#include "host/pen_finder.h"

namespace penctl {

/** Options that several commands share, each named and explained in one way. */

/** --wait and --settle */
void addWaiting(CLI::App &command, PenChoice &choice);

/** [PEN], --wait and --settle */
void addPen(CLI::App &command, PenChoice &choice);

/** --json */
void addJson(CLI::App &command, bool &json);

} // namespace penctl
