#include "questions/counts.h"

#include "questions/question.h"

#include <cstdlib>

namespace zel::bench {

namespace {

/** Work in two sizes. The difference of both counts, divided by the difference of the sizes, is the count for
 * one item, without what starting and ending cost. */
struct Work {
    std::string name;
    const char *hostWork;
    const char *bareWork;
    Pens few;
    Pens many;
    std::uint64_t fewExchanges;
    std::uint64_t manyExchanges;
    double items; // the difference of the two sizes
};

const Work kExchange{"by exchange", "exchanges", "exchanges", {}, {}, 500, 1'500, 1'000};
const Work kPage{"by page of 200 B",
                 "retrieve",
                 "retrieve",
                 {.pages = 500, .pageSize = 200},
                 {.pages = 1'500, .pageSize = 200},
                 1,
                 1,
                 1'000};
const Work kLargePage{"by page of 8 KiB",
                      "retrieve",
                      "retrieve",
                      {.pages = 100, .pageSize = 8192},
                      {.pages = 300, .pageSize = 8192},
                      1,
                      1,
                      200};
const Work kMebibyte{
    "by MiB, in pages of 1 MiB",        "retrieve", "retrieve", {.pages = 4, .pageSize = 1 << 20},
    {.pages = 20, .pageSize = 1 << 20}, 1,          1,          16};
const Work kPen{"by announced pen", "enumerate", "enumerate", {.count = 100}, {.count = 300}, 1, 1, 200};
const Work kSelected{"by selected page",
                     "select",
                     "retrieve",
                     {.pages = 1'000, .pageSize = 200},
                     {.pages = 8'000, .pageSize = 200},
                     1,
                     1,
                     7'000};

/** How often something happens in one run of a client. */
using Counting = double (*)(const Words &command, const Bench &bench);

/** The number after a text. */
double numberBehind(const std::string &text, const std::string &label)
{
    const std::size_t at = text.find(label);
    if (at == std::string::npos)
        throw std::runtime_error("no \"" + label + "\" in the tool's output");
    return std::strtod(text.c_str() + at + label.size(), nullptr);
}

/** Callgrind counts the one instruction that copies a whole block ("rep movsb") once for every byte. So the C
 * library is told to copy with vector instructions, as it does by default for smaller blocks. */
constexpr const char *kCopyByVectors = "GLIBC_TUNABLES=glibc.cpu.x86_rep_movsb_threshold=1000000000:glibc."
                                       "cpu.x86_rep_stosb_threshold=1000000000";

double instructions(const Words &command, const Bench &bench)
{
    Words environment = bench.environment();
    environment.push_back(kCopyByVectors);
    Words counted = {"valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"};
    counted.insert(counted.end(), command.begin(), command.end());
    return numberBehind(runProgram(counted, environment).errors, "Collected :");
}

double systemCalls(const Words &command, const Bench &bench)
{
    Words counted = {"strace", "-f", "-c", "-U", "calls,name"};
    counted.insert(counted.end(), command.begin(), command.end());
    const std::string table = runProgram(counted, bench.environment()).errors;
    // The last line is the sum: "12345 total".
    const std::size_t sum = table.rfind('\n', table.rfind("total"));
    return std::strtod(table.c_str() + sum, nullptr);
}

/** What the preloaded counter counted in the measured part. */
double counted(const Words &command, const Bench &bench, const char *figure)
{
    Words environment = bench.environment();
    environment.push_back("LD_PRELOAD=" + bench.directory() + "/libzel_bench_counter.so");
    return parseFigures(runProgram(command, environment).text).at(figure);
}

double allocations(const Words &command, const Bench &bench)
{
    return counted(command, bench, "allocations");
}

double receives(const Words &command, const Bench &bench)
{
    return counted(command, bench, "receives");
}

double sends(const Words &command, const Bench &bench)
{
    return counted(command, bench, "sends");
}

double socketCalls(const Words &command, const Bench &bench)
{
    return receives(command, bench) + sends(command, bench);
}

double emptySends(const Words &command, const Bench &bench)
{
    return counted(command, bench, "empty_sends");
}

struct Count {
    const char *what;
    Counting counting;
    const Work &work;
    std::optional<double> target;

    std::string name() const { return std::string(what) + ", " + work.name; }

    double of(const Bench &bench, Side side) const
    {
        const char *const name = side == Side::Host ? work.hostWork : work.bareWork;
        const auto total = [&](const Pens &pens, std::uint64_t exchanges) {
            const Server server(bench, pens);
            const Words more = {"exchanges=" + std::to_string(exchanges)};
            return counting(clientCommand(bench, side, name, server, more), bench);
        };
        return (total(work.many, work.manyExchanges) - total(work.few, work.fewExchanges)) / work.items;
    }
};

/** The counts that may not grow unnoticed: each is compared with a kept number. */
const Count kKept[] = {
    {"instructions", instructions, kExchange, 2'200},
    {"allocations", allocations, kExchange, 4},
    {"instructions", instructions, kPage, 5'500},
    {"allocations", allocations, kPage, 8},
    {"instructions", instructions, kLargePage, 8'000},
    {"allocations", allocations, kLargePage, 8},
    {"instructions", instructions, kMebibyte, 200'000},
    {"instructions", instructions, kPen, 15'000},
    {"allocations", allocations, kPen, 4},
    {"instructions", instructions, kSelected, 7'000},
};

const Count kMore[] = {
    // Depends on how much has arrived at each call.
    {"send and recv calls", socketCalls, kMebibyte, 40},
    {"system calls", systemCalls, kExchange, std::nullopt},
    {"send calls", sends, kExchange, 1},
    {"recv calls", receives, kExchange, std::nullopt},
    {"empty packets sent", emptySends, kExchange, 0},
    {"system calls", systemCalls, kPage, std::nullopt},
    {"send calls", sends, kPage, 1},
    {"recv calls", receives, kPage, std::nullopt},
    {"empty packets sent", emptySends, kPage, 0},
    {"system calls", systemCalls, kLargePage, std::nullopt},
    {"system calls", systemCalls, kPen, std::nullopt},
    {"recv calls", receives, kPen, std::nullopt},
};

Row rowOf(const Count &count, double ours)
{
    Row row;
    row.what = count.name();
    row.unit = Unit::Number;
    row.ours = ours;
    row.target = count.target;
    return row;
}

/** A target of a count limits our figure, not the ratio; the count of the bare client is shown beside it. */
void addCompared(const Bench &bench, Report &report, const Count &count)
{
    Row row = rowOf(count, count.of(bench, Side::Host));
    row.baseline = count.of(bench, Side::Bare);
    report.add(row);
}

} // namespace

void askCounts(const Bench &bench, Report &report)
{
    for (const Count &count : kKept)
        addCompared(bench, report, count);
    for (const Count &count : kMore)
        addCompared(bench, report, count);
}

KeptCounts countQuickly(const Bench &bench)
{
    KeptCounts counts;
    for (const Count &count : kKept)
        counts.emplace_back(count.name(), count.of(bench, Side::Host));
    return counts;
}

} // namespace zel::bench
