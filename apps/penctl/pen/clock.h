#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace penctl {

/** Milliseconds since 1970, GMT, by the clock of this machine. */
uint64_t hostMillis();

/** How far the pen's clock is ahead of this machine's, in words: "1.250 s ahead", "2 days 03:00:00 behind".
 */
std::string driftText(int64_t millisAhead);

/** A time as a user gives it: "now", milliseconds since 1970, or "2026-03-31T12:00:00Z" (seconds and "Z" may
 * be left out, all times are GMT). Nothing when it is none of these. */
std::optional<uint64_t> parseTime(const std::string &text);

} // namespace penctl
