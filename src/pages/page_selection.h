#pragma once

#include "pages/page_list.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace zel {

/** How many addresses the host's list contains: one for each ";", and one more if there is a "." after the
 *  last ";". */
std::size_t requestedPageCount(std::string_view list) noexcept;

/** Tells for each text whether it occurs in the list, even as a part of a longer address. The texts must not
 *  contain ";". The time is proportional to the length of the list and the texts. */
std::vector<bool> occurrences(std::string_view list, const std::vector<std::string_view> &texts);

/** The pages whose address occurs in the list, in the order of pages. */
PageList selectPages(const PageList &pages, std::string_view list);

} // namespace zel
