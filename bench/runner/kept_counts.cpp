#include "runner/kept_counts.h"

#include <fmt/core.h>

#include <fstream>
#include <map>
#include <stdexcept>

namespace zel::bench {

namespace {

constexpr double kTolerance = 1.1;
constexpr double kRounding = 0.05; // the file has one decimal

/** The file has one line for each count: the number, a blank, the name. Lines that begin with "#" are
 * comments. */
std::map<std::string, double> readCounts(const std::string &file)
{
    std::ifstream lines(file);
    std::map<std::string, double> kept;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line.front() == '#')
            continue;
        const std::size_t blank = line.find(' ');
        kept[line.substr(blank + 1)] = std::stod(line.substr(0, blank));
    }
    if (kept.empty())
        throw std::runtime_error(file + " keeps no counts");
    return kept;
}

} // namespace

bool compareWithKept(const KeptCounts &counts, const std::string &file)
{
    const std::map<std::string, double> kept = readCounts(file);
    bool good = true;
    for (const auto &[name, count] : counts) {
        const auto found = kept.find(name);
        if (found == kept.end())
            throw std::runtime_error(file + " does not keep \"" + name + "\"");
        const bool fits = count <= kTolerance * found->second + kRounding;
        fmt::print("{:<50} {:>10.1f}, kept {:>10.1f}{}\n", name, count, found->second,
                   fits ? "" : "  MORE THAN A TENTH ABOVE");
        std::fflush(stdout);
        good = good && fits;
    }
    return good;
}

void keep(const KeptCounts &counts, const std::string &file)
{
    std::ofstream lines(file);
    lines << "# Counts that may not creep up; docs/benchmarks.md tells how to move them.\n";
    for (const auto &[name, count] : counts)
        lines << fmt::format("{:.1f} {}\n", count, name);
    if (!lines.flush())
        throw std::runtime_error(file + " cannot be written");
}

} // namespace zel::bench
