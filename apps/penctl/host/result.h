#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "failure.h"

namespace penctl {

/** A result code of the library in words: "the pen is locked". */
std::string_view resultWords(uint32_t code);

/** What code 1 means at one particular call, where that can be said better than in general. */
using Meaning = std::string_view;

/** Raises Failure with that code unless it is 0: "cannot fetch the pages: the pen is locked (2)". */
void check(uint32_t code, std::string_view what, Meaning invalidArgument = {});

/** The text that check() raises. */
std::string failureText(uint32_t code, std::string_view what, Meaning invalidArgument = {});

} // namespace penctl
