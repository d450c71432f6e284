#pragma once

#include <span>
#include <string>

#include "pen/reading.h"

namespace penctl {

/** A setting of a pen under the name that the command line gives it. */
struct Setting {
    const char *name;
    const char *explanation;
    /** The values that set() takes, for help and complaints; null when the setting can only be read. */
    const char *values;
    Reading (*get)(const zelpp::Pen &pen);
    /** Raises Failure (64) for a text that is no such value. */
    zelpp::Result<void> (*set)(zelpp::Pen &pen, const std::string &value);
};

std::span<const Setting> allSettings();

/** The setting of that name; Failure (64), naming those there are, when there is none. */
const Setting &findSetting(const std::string &name);

} // namespace penctl
