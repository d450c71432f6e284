#pragma once

#include <cstdint>
#include <string_view>
#include <utility>

#include <zel/error.hpp>

#include "failure.h"

namespace penctl {

/** A result code of the library in words: "the pen is locked". */
std::string_view resultWords(uint32_t code);

/** What code 1 means at one particular call, where that can be said better than in general. */
using Meaning = std::string_view;

/** Raises Failure with the error's code: "cannot fetch the pages: the pen is locked (2)". */
[[noreturn]] void failOn(const zelpp::Error &error, std::string_view what, Meaning invalidArgument = {});

/** What an operation gave; raises Failure as above when it failed. */
template <class T>
T check(zelpp::Result<T> result, std::string_view what, Meaning invalidArgument = {})
{
    if (!result)
        failOn(result.error(), what, invalidArgument);
    if constexpr (!std::is_void_v<T>)
        return std::move(*result);
}

} // namespace penctl
