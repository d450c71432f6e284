#pragma once

#include <string>

namespace penctl {

/** Asks a question on the terminal; whether the answer is yes. Without a terminal to ask on it raises Failure
 * (64), which tells of --yes. */
bool confirm(const std::string &question);

/** Raises Failure (77) unless `agreed` or the answer is yes. */
void requireConsent(bool agreed, const std::string &question);

} // namespace penctl
