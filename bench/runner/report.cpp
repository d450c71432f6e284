#include "runner/report.h"

#include <fmt/core.h>
#include <nlohmann/json.hpp>

#include <sys/utsname.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace zel::bench {

namespace {

constexpr int kWhatWidth = 52;

std::string threeDigits(double value)
{
    const double size = std::abs(value);
    return fmt::format("{:.{}f}", value, size >= 100 || size == std::floor(size) ? 0 : size >= 10 ? 1 : 2);
}

struct Scale {
    double factor;
    const char *name;
};

std::string scaled(double value, const std::array<Scale, 4> &scales)
{
    for (const Scale &scale : scales)
        if (std::abs(value) >= scale.factor)
            return threeDigits(value / scale.factor) + " " + scale.name;
    return threeDigits(value / scales.back().factor) + " " + scales.back().name;
}

std::string figure(double value, Unit unit)
{
    switch (unit) {
    case Unit::Seconds:
        return scaled(value, {Scale{1, "s"}, Scale{1e-3, "ms"}, Scale{1e-6, "us"}, Scale{1e-9, "ns"}});
    case Unit::Bytes:
        return scaled(value,
                      {Scale{1 << 30, "GiB"}, Scale{1 << 20, "MiB"}, Scale{1 << 10, "KiB"}, Scale{1, "B"}});
    case Unit::Number:
        break;
    }
    return threeDigits(value);
}

std::string figure(const std::optional<double> &value, Unit unit)
{
    return value ? figure(*value, unit) : "";
}

std::string ratioText(const std::optional<Spread> &ratio)
{
    if (!ratio)
        return "";
    if (ratio->low == ratio->high)
        return fmt::format("{:.2f}", ratio->median);
    return fmt::format("{:.2f} ({:.2f}-{:.2f})", ratio->median, ratio->low, ratio->high);
}

std::string targetText(const Row &row)
{
    if (!row.target)
        return "";
    return row.ratio ? fmt::format("{:.2f}", *row.target) : figure(*row.target, row.unit);
}

std::string verdict(const Row &row)
{
    if (row.failed)
        return "FAILED";
    const std::optional<bool> met = row.met();
    return !met ? "" : *met ? "met" : "NOT MET";
}

void print(std::string_view what, std::string_view ours, std::string_view baseline, std::string_view ratio,
           std::string_view processor, std::string_view target, std::string_view rest)
{
    fmt::print("  {:<{}} {:>10} {:>10}  {:<18} {:>6} {:>8}  {}\n", what, kWhatWidth, ours, baseline, ratio,
               processor, target, rest);
    std::fflush(stdout);
}

std::string processorName()
{
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("model name"))
            return line.substr(line.find(':') + 2);
    return "unknown";
}

std::string loadAverage()
{
    double load[1] = {};
    return getloadavg(load, 1) == 1 ? fmt::format("{:.2f}", load[0]) : "unknown";
}

std::string today()
{
    std::array<char, sizeof "2000-01-31"> text{};
    const std::time_t now = std::time(nullptr);
    std::strftime(text.data(), text.size(), "%Y-%m-%d", std::gmtime(&now));
    return text.data();
}

nlohmann::json number(const std::optional<double> &value)
{
    return value ? nlohmann::json(*value) : nlohmann::json();
}

nlohmann::json toJson(const Row &row)
{
    static constexpr const char *kUnits[] = {"s", "bytes", ""};
    nlohmann::json json;
    json["what"] = row.what;
    json["unit"] = kUnits[static_cast<int>(row.unit)];
    json["ours"] = number(row.ours);
    json["baseline"] = number(row.baseline);
    json["ratio"] = row.ratio ? nlohmann::json(row.ratio->median) : nlohmann::json();
    if (row.ratio)
        json["spread"] = {row.ratio->low, row.ratio->high};
    json["processor_ratio"] = number(row.processorRatio);
    json["target"] = number(row.target);
    const std::optional<bool> met = row.met();
    json["met"] = met ? nlohmann::json(*met) : nlohmann::json();
    if (row.failed)
        json["failed"] = true;
    if (!row.note.empty())
        json["note"] = row.note;
    return json;
}

} // namespace

std::optional<bool> Row::met() const
{
    if (!target)
        return std::nullopt;
    if (ratio)
        return ratio->median <= *target;
    return ours && *ours <= *target;
}

void Report::begin()
{
    utsname system{};
    uname(&system);
    m_machine = {{"date", today()},
                 {"processor", processorName()},
                 {"kernel", std::string(system.sysname) + " " + system.release},
                 {"load average at the start", loadAverage()}};
    for (const auto &[key, value] : m_machine)
        fmt::print("{}: {}\n", key, value);
    fmt::print("\n");
    print("", "ours", "baseline", "ratio (spread)", "of CPU", "at most", "");
}

void Report::section(const std::string &title)
{
    m_sections.push_back({title, {}});
    fmt::print("\n{}\n", title);
}

void Report::add(Row row)
{
    const std::string state = verdict(row);
    print(row.what, figure(row.ours, row.unit), figure(row.baseline, row.unit), ratioText(row.ratio),
          row.processorRatio ? fmt::format("{:.2f}", *row.processorRatio) : "", targetText(row),
          state + (state.empty() || row.note.empty() ? "" : "; ") + row.note);
    m_sections.back().rows.push_back(std::move(row));
}

void Report::finish() const
{
    int targets = 0;
    std::vector<std::string> missed;
    std::vector<std::string> failed;
    for (const Section &section : m_sections) {
        for (const Row &row : section.rows) {
            targets += row.target ? 1 : 0;
            if (row.failed)
                failed.push_back(row.what + ": " + row.note);
            else if (!row.met().value_or(true))
                missed.push_back(row.what);
        }
    }
    fmt::print("\n{} of {} targets met.\n", targets - static_cast<int>(missed.size()), targets);
    for (const std::string &what : missed)
        fmt::print("  not met: {}\n", what);
    for (const std::string &what : failed)
        fmt::print("  not measured: {}\n", what);
}

void Report::writeJson(const std::string &path) const
{
    nlohmann::ordered_json json;
    for (const auto &[key, value] : m_machine)
        json["machine"][key] = value;
    json["sections"] = nlohmann::json::array();
    for (const Section &section : m_sections) {
        nlohmann::json rows = nlohmann::json::array();
        for (const Row &row : section.rows)
            rows.push_back(toJson(row));
        json["sections"].push_back({{"title", section.title}, {"rows", rows}});
    }
    std::ofstream file(path);
    file << json.dump(2) << '\n';
    if (!file.flush())
        throw std::runtime_error(path + " cannot be written");
}

} // namespace zel::bench
