// Asks the questions of the benchmark and prints one table; see docs/benchmarks.md.

#include "questions/question.h"
#include "runner/kept_counts.h"

#include <CLI/CLI.hpp>
#include <fmt/core.h>

#include <sched.h>

#include <algorithm>
#include <filesystem>

namespace zel::bench {
namespace {

constexpr Question kQuestions[] = {
    {"exchanges", "Small exchanges, over a bare client", askExchanges},
    {"retrieval", "zelGetAllPages, over a bare client", askRetrieval},
    {"selection", "zelGetPages, over a bare client that fetches them", askSelection},
    {"enumeration", "Discovery, over a bare client that reads byte by byte", askEnumeration},
    {"growth", "Growth of the time from 5,000 to 40,000 pages (1 is proportional)", askGrowth},
    {"memory", "Memory grown over the payload, at its highest", askMemory},
    {"counts", "Counts, which repeat exactly, over a bare client", askCounts},
    {"codec", "Codec, a node, over other libraries", askCodec},
    {"internals", "Inside the library, over the least that would do", askInternals},
    {"library", "The library itself", askLibrary},
    {"cpp", "The C++ header, over the C functions that it calls", askCpp},
};

/** Keeps this process, and all that it starts, on one processor. With two, they would have to wake each other
 * up, which takes many times as long as what is measured. */
void stayOnOneProcessor()
{
    cpu_set_t allowed;
    sched_getaffinity(0, sizeof allowed, &allowed);
    int last = CPU_SETSIZE - 1;
    while (last > 0 && !CPU_ISSET(last, &allowed))
        --last;
    CPU_ZERO(&allowed);
    CPU_SET(last, &allowed);
    sched_setaffinity(0, sizeof allowed, &allowed);
}

void ask(const Question &question, const Bench &bench, Report &report)
{
    report.section(question.title);
    try {
        question.ask(bench, report);
    } catch (const std::exception &failure) {
        Row row;
        row.what = question.name;
        row.note = failure.what();
        row.failed = true;
        report.add(row);
    }
}

std::vector<std::string> questionNames()
{
    std::vector<std::string> names;
    for (const Question &question : kQuestions)
        names.emplace_back(question.name);
    return names;
}

int run(int count, char *arguments[])
{
    CLI::App app("Measures the library beside a bare client and beside other codecs.");
    std::string json;
    int rounds = 11;
    std::string library;
    std::string kept;
    bool quick = false;
    bool moves = false;
    std::vector<std::string> wanted;
    app.add_option("--json", json, "Also write the table to this file, as JSON");
    app.add_option("--rounds", rounds, "Runs of each measurement")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_option("question", wanted, "What to measure; everything by default")
        ->check(CLI::IsMember(questionNames()));
    app.add_option("--library", library, "Folder of the library to measure; the build's own by default");
    CLI::Option *const quickly =
        app.add_flag("--quick", quick, "Only the counts that are kept; fails on one a tenth above");
    app.add_option("--kept", kept, "The file that keeps them")->needs(quickly);
    app.add_flag("--move", moves, "Keep what was counted now")->needs(quickly);
    CLI11_PARSE(app, count, arguments);

    stayOnOneProcessor();
    const Bench bench(std::filesystem::canonical("/proc/self/exe").parent_path(), rounds, library);
    if (quick) {
        const KeptCounts counts = countQuickly(bench);
        if (moves)
            keep(counts, kept);
        return compareWithKept(counts, kept) ? 0 : 1;
    }
    Report report;
    report.begin();
    for (const Question &question : kQuestions)
        if (wanted.empty() || std::ranges::find(wanted, question.name) != wanted.end())
            ask(question, bench, report);
    report.finish();
    if (!json.empty())
        report.writeJson(json);
    return 0;
}

} // namespace
} // namespace zel::bench

int main(int count, char *arguments[])
{
    try {
        return zel::bench::run(count, arguments);
    } catch (const std::exception &failure) {
        fmt::print(stderr, "{}\n", failure.what());
        return 1;
    }
}
