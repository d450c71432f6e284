#pragma once

#include <string>

#include "pagedata/file_value.h"
#include "pagedata/property_names.h"
#include "ui/json.h"

namespace penctl {

/** A value on one line: "hello", 17, [1, "a"], 3 bytes: 01 02 03. Of long arrays the first elements. */
std::string valueText(const FileValue &value, NumberStyle style);

/** {"type": ..., "value": ...}; a binary has "size" and "start" (hexadecimal) in place of "value". */
Json valueJson(const FileValue &value);

} // namespace penctl
