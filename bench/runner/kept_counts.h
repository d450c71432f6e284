#pragma once

#include "questions/counts.h"

#include <string>

namespace zel::bench {

/** Prints each count beside the one in the file. False if a count is more than a tenth above that. */
bool compareWithKept(const KeptCounts &counts, const std::string &file);
/** Replaces the counts in the file by these. */
void keep(const KeptCounts &counts, const std::string &file);

} // namespace zel::bench
