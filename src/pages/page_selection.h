#pragma once

#include "pages/page_list.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/** Addresses that a list asks for: one for each ";", and one more for a rest that holds a ".". */
std::size_t requestedPageCount(std::string_view list) noexcept;

/** For each text whether it occurs anywhere in the list, as a plain search for it would tell: also
 *  inside a longer address. The texts hold no ";". Linear in the list and the texts. */
std::vector<bool> occurrences(std::string_view list, const std::vector<std::string> &texts);

/** The pages whose address text occurs in the list, in their order. */
PageList selectPages(const PageList &pages, std::string_view list);

} // namespace zel
