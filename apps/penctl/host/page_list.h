#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <zel/zel.h>

namespace penctl {

/** The pages that a pen holds strokes for. */
struct PageListing {
    std::vector<std::string> addresses;
    uint32_t totalBytes = 0;
};

/** Asks the pen; the library's result code. */
uint32_t readPageList(PenHandle *pen, PageListing &listing);

/** The parts of a text that are closed by ";". */
std::vector<std::string> splitAddresses(const std::string &text);

} // namespace penctl
