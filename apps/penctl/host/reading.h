#pragma once

#include <cstdint>
#include <string>

#include "ui/json.h"

namespace penctl {

/** One thing that a pen was asked for: the library's result code and, when that is 0, the answer for people
 * and for programs. */
struct Reading {
    uint32_t code = 0;
    std::string text;
    Json json;
};

/** The answer, or in brackets why there is none: "(the pen is locked)". */
std::string readingText(const Reading &reading);

} // namespace penctl
