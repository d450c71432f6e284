#include "questions/question.h"

#include <cstdlib>

namespace zel::bench {

namespace {

/** A piece of work in two sizes. What the larger does more than the smaller, by item, has nothing
 *  to do with starting and ending. */
struct Work {
    std::string name;
    const char *hostWork;
    const char *bareWork;
    Pens few;
    Pens many;
    std::uint64_t fewExchanges;
    std::uint64_t manyExchanges;
    double items; // by which the two sizes differ
};

using Counting = double (*)(const Words &command);

/** The number that follows a text. */
double numberBehind(const std::string &text, const std::string &label)
{
    const std::size_t at = text.find(label);
    if (at == std::string::npos)
        throw std::runtime_error("no \"" + label + "\" in the tool's output");
    return std::strtod(text.c_str() + at + label.size(), nullptr);
}

double instructions(const Words &command)
{
    Words counted = {"valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"};
    counted.insert(counted.end(), command.begin(), command.end());
    return numberBehind(runProgram(counted).errors, "Collected :");
}

double systemCalls(const Words &command)
{
    Words counted = {"strace", "-f", "-c", "-U", "calls,name"};
    counted.insert(counted.end(), command.begin(), command.end());
    const std::string table = runProgram(counted).errors;
    // The last line is the sum: "12345 total".
    const std::size_t sum = table.rfind('\n', table.rfind("total"));
    return std::strtod(table.c_str() + sum, nullptr);
}

double perItem(const Bench &bench, Side side, const Work &work, Counting count)
{
    const char *const name = side == Side::Host ? work.hostWork : work.bareWork;
    const auto total = [&](const Pens &pens, std::uint64_t exchanges) {
        const Server server(bench, pens);
        return count(clientCommand(bench, side, name, server, {"exchanges=" + std::to_string(exchanges)}));
    };
    return (total(work.many, work.manyExchanges) - total(work.few, work.fewExchanges)) / work.items;
}

Row exactRow(const std::string &what, double ours, double baseline)
{
    Row row;
    row.what = what;
    row.unit = Unit::Number;
    row.ours = ours;
    row.baseline = baseline;
    if (baseline > 0)
        row.ratio = Spread{ours / baseline, ours / baseline, ours / baseline};
    return row;
}

void addCount(const Bench &bench, Report &report, const Work &work, const std::string &what, Counting count)
{
    report.add(exactRow(what + ", " + work.name, perItem(bench, Side::Host, work, count),
                        perItem(bench, Side::Bare, work, count)));
}

/** What the interposed counter saw in the measured part of the larger size. */
Figures countedCalls(const Bench &bench, Side side, const Work &work)
{
    const char *const name = side == Side::Host ? work.hostWork : work.bareWork;
    const Server server(bench, work.many);
    return runClient(bench, side, name, server, {"exchanges=" + std::to_string(work.manyExchanges)},
                     {"LD_PRELOAD=" + bench.directory() + "/libzel_bench_counter.so"});
}

void addCalls(const Bench &bench, Report &report, const Work &work, double items,
              std::optional<double> sendsTarget)
{
    Figures ours = countedCalls(bench, Side::Host, work);
    Figures baseline = countedCalls(bench, Side::Bare, work);
    const auto row = [&](const char *what, const char *figure) {
        return exactRow(std::string(what) + ", " + work.name, ours.at(figure) / items,
                        baseline.at(figure) / items);
    };
    report.add(row("allocations", "allocations"));
    report.add(row("recv calls", "receives"));
    Row sends = row("send calls", "sends");
    sends.target = sendsTarget;
    report.add(sends);
    Row empty = row("empty packets sent", "empty_sends");
    empty.target = 0;
    report.add(empty);
}

} // namespace

void askCounts(const Bench &bench, Report &report)
{
    const Work exchange{"by exchange", "exchanges", "exchanges", {}, {}, 500, 1'500, 1'000};
    const Work page{"by page of 200 B",
                    "retrieve",
                    "retrieve",
                    {.pages = 500, .pageSize = 200},
                    {.pages = 1'500, .pageSize = 200},
                    1,
                    1,
                    1'000};
    const Work largePage{"by page of 8 KiB",
                         "retrieve",
                         "retrieve",
                         {.pages = 100, .pageSize = 8192},
                         {.pages = 300, .pageSize = 8192},
                         1,
                         1,
                         200};
    const Work selected{"by selected page",
                        "select",
                        "retrieve",
                        {.pages = 500, .pageSize = 200},
                        {.pages = 1'500, .pageSize = 200},
                        1,
                        1,
                        1'000};
    const Work pen{"by announced pen", "enumerate", "enumerate", {.count = 100}, {.count = 300}, 1, 1, 200};
    for (const Work &work : {exchange, page, largePage, selected, pen})
        addCount(bench, report, work, "instructions", instructions);
    for (const Work &work : {exchange, page, largePage, pen})
        addCount(bench, report, work, "system calls", systemCalls);
    addCalls(bench, report, exchange, 1'500, 1);
    addCalls(bench, report, page, 1'500, 1);
    addCalls(bench, report, pen, 300, std::nullopt);
}

} // namespace zel::bench
