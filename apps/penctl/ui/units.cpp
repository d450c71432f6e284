#include "ui/units.h"

#include <array>
#include <charconv>
#include <chrono>
#include <regex>
#include <system_error>

#include <fmt/format.h>

namespace penctl {

namespace {

using namespace std::chrono;

constexpr uint64_t kMillisPerDay = 86'400'000;

/** The calendar of the standard library ends with the year 32767. */
bool endsCalendar(uint64_t millis)
{
    constexpr auto kLastDay = sys_days(year::max() / December / 31).time_since_epoch().count();
    return millis / kMillisPerDay > static_cast<uint64_t>(kLastDay);
}

std::string dateAndTime(uint64_t millis)
{
    const year_month_day date{sys_days(days(static_cast<int>(millis / kMillisPerDay)))};
    const uint64_t inDay = millis % kMillisPerDay;
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", static_cast<int>(date.year()),
                       static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                       inDay / 3'600'000, inDay / 60'000 % 60, inDay / 1000 % 60);
}

} // namespace

std::string grouped(uint64_t number)
{
    std::string digits = std::to_string(number);
    for (std::size_t i = digits.size(); i > 3; i -= 3)
        digits.insert(i - 3, 1, ',');
    return digits;
}

std::string humanBytes(uint64_t bytes)
{
    static constexpr std::array kUnits = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    if (bytes < 1024)
        return fmt::format("{} B", bytes);
    double value = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    // From 1023.95 on, one digit behind the point would round up to "1024.0".
    for (; value >= 1023.95 && unit + 1 < kUnits.size(); ++unit)
        value /= 1024;
    return fmt::format("{:.1f} {}", value, kUnits.at(unit));
}

std::string counted(uint64_t number, std::string_view singular, std::string_view plural)
{
    return fmt::format("{} {}", grouped(number), number == 1 ? singular : plural);
}

std::string utcSecondsText(uint64_t millis)
{
    return endsCalendar(millis) ? fmt::format("{} ms", millis) : dateAndTime(millis) + "Z";
}

std::string utcText(uint64_t millis)
{
    return endsCalendar(millis) ? fmt::format("{} ms", millis)
                                : fmt::format("{}.{:03} UTC", dateAndTime(millis), millis % 1000);
}

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

std::optional<uint64_t> parseNumber(std::string_view text, uint64_t most)
{
    uint64_t number = 0;
    const char *end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stopped != end || number > most)
        return std::nullopt;
    return number;
}

std::optional<uint64_t> parseTime(const std::string &text)
{
    if (text == "now")
        return hostMillis();
    if (const std::optional<uint64_t> millis = parseNumber(text, UINT64_MAX))
        return millis;
    static const std::regex kForm(R"((\d{4})-(\d\d)-(\d\d)[T ](\d\d):(\d\d)(?::(\d\d))?Z?)");
    std::smatch parts;
    if (!std::regex_match(text, parts, kForm))
        return std::nullopt;
    const auto part = [&](std::size_t i) {
        return static_cast<unsigned>(parseNumber(parts.str(i), 9999).value_or(0));
    };
    const year_month_day date{year(static_cast<int>(part(1))), month(part(2)), day(part(3))};
    if (!date.ok() || part(1) < 1970 || part(4) > 23 || part(5) > 59 || part(6) > 59)
        return std::nullopt;
    const auto time = sys_days(date) + hours(part(4)) + minutes(part(5)) + seconds(part(6));
    return static_cast<uint64_t>(duration_cast<milliseconds>(time.time_since_epoch()).count());
}

} // namespace penctl
