#pragma once

#include <string_view>

namespace penctl {

/** Whether the library takes this text for a page address: four or five numbers with dots between, of which
 * the last ones may be "*". */
bool isPageAddress(std::string_view text);

/** Whether a page address stands for more than one page. */
bool isWildcard(std::string_view address);

} // namespace penctl
