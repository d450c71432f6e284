#include "questions/question.h"

namespace zel::bench {

namespace {

void retrieve(const Bench &bench, Report &report, const std::string &what, const Pens &pens, double target)
{
    const Server server(bench, pens);
    report.add(measurePaired(bench, server, "retrieve", "retrieve").row(what, target));
}

} // namespace

void askRetrieval(const Bench &bench, Report &report)
{
    constexpr std::uint32_t kKibibyte = 1024;
    constexpr std::uint32_t kMebibyte = 1024 * kKibibyte;
    retrieve(bench, report, "20,000 pages of 200 B", {.pages = 20'000, .pageSize = 200}, 1.15);
    retrieve(bench, report, "1,000 pages of 8 KiB", {.pages = 1'000, .pageSize = 8 * kKibibyte}, 1.25);
    retrieve(bench, report, "20 pages of 4 MiB", {.pages = 20, .pageSize = 4 * kMebibyte}, 1.25);
    // These strokes look like encoded values, so making their text for the log has to read every byte.
    retrieve(bench, report, "20 pages of 1 MiB, a list spoilt near its end",
             {.pages = 20, .pageSize = kMebibyte, .strokes = "almost"}, 3);
    retrieve(bench, report, "20 pages of 1 MiB, binaries within binaries",
             {.pages = 20, .pageSize = kMebibyte, .strokes = "nested"}, 3);
}

} // namespace zel::bench
