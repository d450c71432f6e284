#pragma once

#include "questions/counts.h"

#include <string>

namespace zel::bench {

/** Prints each count beside the one that the file keeps; false when one is more than a tenth above it. */
bool compareWithKept(const KeptCounts &counts, const std::string &file);
/** Makes these the counts that are kept. */
void keep(const KeptCounts &counts, const std::string &file);

} // namespace zel::bench
