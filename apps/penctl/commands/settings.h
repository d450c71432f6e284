#pragma once

#include "pen/answer.h"

namespace penctl {

/** Reads the setting that `penctl get NAME` reads. */
Reading readSetting(const zelpp::Pen &pen, const char *name);

} // namespace penctl
