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

/** Words for result code 1 at one particular call, more exact than the general ones. */
using Meaning = std::string_view;

/** Raises Failure with the error's code: "cannot fetch the pages: the pen is locked (2)". */
[[noreturn]] void failOn(const zelpp::Error &error, std::string_view what, Meaning invalidArgument = {});

/** The value of a result; raises Failure as above when there is none. */
template <class T>
T check(zelpp::Result<T> result, std::string_view what, Meaning invalidArgument = {})
{
    if (!result)
        failOn(result.error(), what, invalidArgument);
    if constexpr (!std::is_void_v<T>)
        return std::move(*result);
}

/** The answer to one question to a pen: the result code and, when that is 0, the value as people and as
 * programs read it. */
struct Reading {
    uint32_t code = 0;
    std::string text;
    Json json;
};

/** Makes a reading of a result. The two functions turn its value into text and JSON. */
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
