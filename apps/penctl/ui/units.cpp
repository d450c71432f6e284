#include "ui/units.h"

#include <array>
#include <chrono>

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

} // namespace penctl
