#include "questions/question.h"

namespace zel::bench {

namespace {

void growth(const Bench &bench, Report &report, const std::string &what, const Pens &pens,
            std::optional<double> target, const Words &more = {})
{
    const Server server(bench, pens);
    const double payload = static_cast<double>(pens.pages) * pens.pageSize;
    Row row;
    row.what = what;
    row.unit = Unit::Number;
    row.ours = measure(bench, Side::Host, "peak", "retrieve", server, more).median / payload;
    row.baseline = measure(bench, Side::Bare, "peak", "retrieve", server).median / payload;
    row.target = target;
    report.add(row);
}

} // namespace

void askMemory(const Bench &bench, Report &report)
{
    growth(bench, report, "1,000 pages of 8 KiB", {.pages = 1'000, .pageSize = 8 << 10}, 1.1);
    growth(bench, report, "20 pages of 4 MiB", {.pages = 20, .pageSize = 4 << 20}, 1.1);
    // Memory that the first two retrievals left must not make the third one hold its strokes twice.
    growth(bench, report, "20 pages of 4 MiB, the third time", {.pages = 20, .pageSize = 4 << 20}, 1.1,
           {"before=2"});
    growth(bench, report, "20,000 pages of 200 B", {.pages = 20'000, .pageSize = 200}, 2.0);
}

} // namespace zel::bench
