#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace penctl {

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

} // namespace penctl
