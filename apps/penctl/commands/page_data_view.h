#pragma once

#include <string>

#include "pagedata/page_transaction.h"
#include "ui/json.h"

namespace penctl {

/** What `penctl show` tells of a file of page data: lines and tables for people, an object for programs. */
std::string pageDataText(const PageTransaction &file, bool boldTitles);
Json pageDataJson(const PageTransaction &file);

} // namespace penctl
