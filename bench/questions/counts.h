#pragma once

#include "runner/bench.h"

#include <string>
#include <utility>
#include <vector>

namespace zel::bench {

/** Counts by name, in the order of the report. */
using KeptCounts = std::vector<std::pair<std::string, double>>;

/** The library's own counts, without those of the bare client. */
KeptCounts countQuickly(const Bench &bench);

} // namespace zel::bench
