#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "host/host_memory.h"

namespace penctl {

/** bytes so far, bytes in all, pages so far */
using PageProgress = std::function<void(uint32_t, uint32_t, uint32_t)>;

/** Retrieves the pages of that list ("1.2.3.4;1.2.3.5;"), or all when it is empty; the library's result code.
 * The progress is reported on the calling thread. */
uint32_t retrievePages(PenHandle *pen, const std::string &addresses, const PageProgress &progress,
                       LibraryBytes &data);

} // namespace penctl
