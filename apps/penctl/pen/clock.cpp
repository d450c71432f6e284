#include "pen/clock.h"

#include <chrono>

#include <fmt/format.h>

#include "pen/parse_number.h"

namespace penctl {

namespace {

using namespace std::chrono;

struct CalendarText {
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    unsigned hour = 0;
    unsigned minute = 0;
    unsigned second = 0;
};

/** Takes a number of exactly `digits` digits and the separator before it off the text. */
bool take(std::string_view &text, std::string_view separators, std::size_t digits, unsigned &number)
{
    if (!separators.empty()) {
        if (text.empty() || separators.find(text[0]) == std::string_view::npos)
            return false;
        text.remove_prefix(1);
    }
    const std::optional<uint64_t> parsed = parseNumber(text.substr(0, digits), 9999);
    if (text.size() < digits || !parsed)
        return false;
    number = static_cast<unsigned>(*parsed);
    text.remove_prefix(digits);
    return true;
}

bool takeDate(std::string_view &text, CalendarText &date)
{
    unsigned year = 0;
    if (!take(text, "", 4, year) || !take(text, "-", 2, date.month) || !take(text, "-", 2, date.day))
        return false;
    date.year = static_cast<int>(year);
    return true;
}

bool takeTimeOfDay(std::string_view &text, CalendarText &date)
{
    if (!take(text, "T ", 2, date.hour) || !take(text, ":", 2, date.minute))
        return false;
    if (!text.empty() && text[0] == ':' && !take(text, ":", 2, date.second))
        return false;
    if (!text.empty() && text[0] == 'Z')
        text.remove_prefix(1);
    return text.empty();
}

std::optional<uint64_t> toMillis(const CalendarText &date)
{
    const year_month_day day{year(date.year), month(date.month), std::chrono::day(date.day)};
    if (!day.ok() || date.year < 1970 || date.hour > 23 || date.minute > 59 || date.second > 59)
        return std::nullopt;
    const auto time = sys_days(day) + hours(date.hour) + minutes(date.minute) + seconds(date.second);
    return static_cast<uint64_t>(duration_cast<milliseconds>(time.time_since_epoch()).count());
}

} // namespace

uint64_t hostMillis()
{
    const auto time = system_clock::now().time_since_epoch();
    return static_cast<uint64_t>(duration_cast<milliseconds>(time).count());
}

std::string driftText(int64_t millisAhead)
{
    const char *side = millisAhead < 0 ? "behind" : "ahead";
    const uint64_t millis = millisAhead < 0 ? uint64_t{0} - static_cast<uint64_t>(millisAhead)
                                            : static_cast<uint64_t>(millisAhead);
    if (millis < 60'000)
        return fmt::format("{}.{:03} s {}", millis / 1000, millis % 1000, side);
    const uint64_t seconds = millis / 1000;
    const uint64_t days = seconds / 86'400;
    const std::string dayText = days == 0 ? "" : fmt::format("{} {} ", days, days == 1 ? "day" : "days");
    return fmt::format("{}{:02}:{:02}:{:02} {}", dayText, seconds / 3600 % 24, seconds / 60 % 60,
                       seconds % 60, side);
}

std::optional<uint64_t> parseTime(const std::string &text)
{
    if (text == "now")
        return hostMillis();
    if (const std::optional<uint64_t> millis = parseNumber(text, UINT64_MAX))
        return millis;
    std::string_view rest = text;
    CalendarText date;
    if (!takeDate(rest, date) || !takeTimeOfDay(rest, date))
        return std::nullopt;
    return toMillis(date);
}

} // namespace penctl
