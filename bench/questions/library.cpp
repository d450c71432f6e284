#include "questions/question.h"

#include <filesystem>

namespace zel::bench {

namespace {

void addSize(Report &report, const std::string &what, const std::string &file)
{
    Row row;
    row.what = what;
    row.unit = Unit::Bytes;
    std::error_code missing;
    const auto size = std::filesystem::file_size(file, missing);
    if (missing)
        row.note = "not built";
    else
        row.ours = static_cast<double>(size);
    report.add(row);
}

void addExit(const Bench &bench, Report &report, const std::string &state, const std::string &rendezvous,
             const Words &more = {})
{
    const Server server(bench, Pens{}, rendezvous);
    Row row;
    row.what = "zelExit, listener " + state;
    row.ours = measure(bench, Side::Host, "seconds", "exit", server, more).median;
    report.add(row);
}

} // namespace

void askLibrary(const Bench &bench, Report &report)
{
    const std::string library = bench.libraryFile();
    const std::string stripped = bench.directory() + "/libzel-stripped.so";
    runProgram({"strip", "-o", stripped, library});
    addSize(report, "size of libzel.so, stripped", stripped);
    addSize(report, "size of zel.dll, stripped", bench.directory() + "/../../bench-windows/zel-stripped.dll");

    Row load;
    load.what = "loading libzel.so";
    std::vector<double> times;
    for (int round = 0; round < bench.rounds(); ++round)
        times.push_back(parseFigures(runProgram({bench.program("load"), library}).text).at("seconds"));
    load.ours = spreadOf(times).median;
    report.add(load);

    {
        const Server server(bench, Pens{});
        Row idle;
        idle.what = "heap of a connected pen that is idle";
        idle.unit = Unit::Bytes;
        idle.ours = runClient(bench, Side::Host, "idle", server, {"exchanges=200"}).at("bytes");
        report.add(idle);
        report.add(measurePaired(bench, server, "arrival", "arrival")
                       .row("zelInitialize to the first arrival", std::nullopt));
    }
    addExit(bench, report, "waiting for an absent server", "absent");
    addExit(bench, report, "waiting for the list", "silent");
    addExit(bench, report, "within a message", "half");
    addExit(bench, report, "waiting for a notification", "list");
    addExit(bench, report, "among notifications", "flood");
    // The callback began 100 ms ago and takes 100 ms more.
    addExit(bench, report, "in a callback of 200 ms", "list", {"callback=200000"});
}

} // namespace zel::bench
