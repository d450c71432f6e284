#pragma once

#include <cstdint>
#include <istream>
#include <vector>

#include "pagedata/file_value.h"

namespace penctl {

/** A property of the pen, or a page's entry for one of its pidgets: a 16-bit key and a value. */
struct PageDataEntry {
    uint16_t key = 0;
    FileValue value;
};

struct PageDataPage {
    uint64_t address = 0;
    uint32_t strokeBytes = 0;
    uint8_t flag = 0;
    std::vector<PageDataEntry> entries;
};

/** What a page-data file holds, strokes aside: of those only the size is kept, so that the memory taken does
 * not grow with them. */
struct PageTransaction {
    uint8_t majorVersion = 0;
    uint8_t minorVersion = 0;
    uint64_t address = 0;
    uint16_t pidget = 0;
    std::vector<PageDataPage> pages;
    std::vector<PageDataEntry> properties;
};

/** Reads a page-data file of the given size, which is all that the library hands out for a retrieval.
 * Anything else raises FormatError: another version, lengths that do not fit, bytes after the end. */
PageTransaction readPageTransaction(std::istream &in, uint64_t size);

} // namespace penctl
