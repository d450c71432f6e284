#include "ui/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <regex>
#include <system_error>

#include <boost/locale/utf.hpp>
#include <fmt/chrono.h>

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

template <class Unit>
std::string dateAndTime(uint64_t millis)
{
    const year_month_day date{sys_days(days(static_cast<int>(millis / kMillisPerDay)))};
    return fmt::format("{:04}-{:02}-{:02} {:%T}", static_cast<int>(date.year()),
                       static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                       floor<Unit>(milliseconds(millis % kMillisPerDay)));
}

bool isShown(uint32_t code)
{
    const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
    // Marks that change the direction of what follows could make one text look like another.
    const bool direction = (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
    return !control && !direction;
}

} // namespace

std::string printable(std::string_view text)
{
    using Utf8 = boost::locale::utf::utf_traits<char>;
    std::string shown;
    for (const char *at = text.begin(), *end = text.end(); at != end;) {
        const char *next = at;
        const boost::locale::utf::code_point code = Utf8::decode(next, end);
        if (boost::locale::utf::is_valid_codepoint(code) && isShown(code)) {
            shown.append(at, next);
            at = next;
        } else {
            shown += fmt::format("\\x{:02x}", static_cast<uint8_t>(*at++));
        }
    }
    return shown;
}

std::size_t displayWidth(std::string_view text)
{
    const auto isFirst = [](char c) { return (static_cast<uint8_t>(c) & 0xC0) != 0x80; };
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isFirst));
}

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
    return endsCalendar(millis) ? fmt::format("{} ms", millis) : dateAndTime<seconds>(millis) + "Z";
}

std::string utcText(uint64_t millis)
{
    return endsCalendar(millis) ? fmt::format("{} ms", millis) : dateAndTime<milliseconds>(millis) + " UTC";
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
    const uint64_t fullDays = millis / kMillisPerDay;
    const std::string dayText =
        fullDays == 0 ? "" : fmt::format("{} {} ", fullDays, fullDays == 1 ? "day" : "days");
    return fmt::format("{}{:%T} {}", dayText, seconds(millis % kMillisPerDay / 1000), side);
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
