#pragma once

#include <cstdint>
#include <span>
#include <string>

#include <zel/zel.h>

#include "host/reading.h"

namespace penctl {

/** A setting of a pen under the name that the command line gives it. */
struct Setting {
    const char *name;
    const char *explanation;
    /** The values that set() takes, for help and complaints; null when the setting can only be read. */
    const char *values;
    Reading (*get)(PenHandle *pen);
    /** Raises Failure (64) for a text that is no such value; else the library's result code. */
    uint32_t (*set)(PenHandle *pen, const std::string &value);
};

std::span<const Setting> allSettings();

/** The setting of that name; Failure (64), naming those there are, when there is none. */
const Setting &findSetting(const std::string &name);

} // namespace penctl
