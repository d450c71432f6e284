#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include <zel/zel.hpp>

#include "ui/output.h"

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

/** One thing that a pen was asked for: the library's result code and, when that is 0, the answer for people
 * and for programs. */
struct Reading {
    uint32_t code = 0;
    std::string text;
    Json json;
};

/** The reading of an answer: how it looks to people and to programs is told by two functions of its value. */
template <class T, class ToText, class ToJson>
Reading readingOf(const zelpp::Result<T> &answer, const ToText &toText, const ToJson &toJson)
{
    if (!answer)
        return {answer.error().number(), {}, nullptr};
    return {0, toText(*answer), toJson(*answer)};
}

/** A flag under one of two names. */
Reading flagReading(const zelpp::Result<bool> &answer, const char *yes, const char *no);

/** Raises Failure when there is none: "cannot read time: the pen is locked (2)". */
void requireAnswer(const Reading &reading, std::string_view what);

/** The answer, or in brackets why there is none: "(the pen is locked)". */
std::string readingText(const Reading &reading);

/** "locked" or "not locked" */
Reading readLocked(const zelpp::Pen &pen);

/** "(none)" for a pen without one. */
Reading readPasswordHint(const zelpp::Pen &pen);

} // namespace penctl
