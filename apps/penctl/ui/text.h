#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace penctl {

/** Numbers, times and foreign texts in the form in which people read and write them. */

/** A text that came from a pen or a file, made fit for a terminal: control characters (escape sequences among
 *  them) and bytes that are no UTF-8 stand as "\x1b". */
std::string printable(std::string_view text);

/** How many columns a printable text takes: one for each character. */
std::size_t displayWidth(std::string_view text);

/** "1,234,567" */
std::string grouped(uint64_t number);

/** "512 B", "1.5 KiB", "12.3 MiB": at most one digit behind the point. */
std::string humanBytes(uint64_t bytes);

/** "1 page", "1,200 pages" */
std::string counted(uint64_t number, std::string_view singular, std::string_view plural);

/** "2026-03-31 12:00:05Z" and "2026-03-31 12:00:05.250 UTC" of a time in milliseconds since 1970; the bare
 * number where the calendar ends. */
std::string utcSecondsText(uint64_t millis);
std::string utcText(uint64_t millis);

/** Milliseconds since 1970, GMT, by the clock of this machine. */
uint64_t hostMillis();

/** How far a pen's clock is ahead of this machine's: "1.250 s ahead", "2 days 03:00:00 behind". */
std::string driftText(int64_t millisAhead);

/** A whole text of decimal digits as a number up to `most`; nothing for any other text. */
std::optional<uint64_t> parseNumber(std::string_view text, uint64_t most);

/** A time as a user gives it: "now", milliseconds since 1970, or "2026-03-31T12:00:00Z" (seconds and "Z" may
 * be left out, all times are GMT). Nothing for any other text. */
std::optional<uint64_t> parseTime(const std::string &text);

} // namespace penctl
