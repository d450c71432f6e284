#include "questions/question.h"

namespace zel::bench {

namespace {

struct Growth {
    std::vector<double> sizes;
    std::vector<std::vector<double>> ours;
    std::vector<std::vector<double>> baseline;
};

/** Uses the processor time of both sides, because a few hundredths of an exponent matter, and the load of a
 * moment would hide them. The sizes take turns, so that a busy period of the machine affects all of them. */
Growth measureGrowth(const Bench &bench, const std::string &hostWork)
{
    Growth growth{{5'000, 10'000, 20'000, 40'000}, {}, {}};
    growth.ours.resize(growth.sizes.size());
    growth.baseline.resize(growth.sizes.size());
    for (int round = 0; round < bench.rounds(); ++round) {
        for (std::size_t i = 0; i < growth.sizes.size(); ++i) {
            const Pens pens{.pages = static_cast<std::uint32_t>(growth.sizes[i]), .pageSize = 200};
            const Server server(bench, pens);
            growth.ours[i].push_back(runClient(bench, Side::Host, hostWork, server)["processor_seconds"]);
            growth.baseline[i].push_back(
                runClient(bench, Side::Bare, "retrieve", server)["processor_seconds"]);
        }
    }
    return growth;
}

double exponent(const std::vector<double> &sizes, const std::vector<std::vector<double>> &samples)
{
    std::vector<double> medians;
    for (const std::vector<double> &sample : samples)
        medians.push_back(spreadOf(sample).median);
    return growthExponent(sizes, medians);
}

void addExponent(const Bench &bench, Report &report, const std::string &what, const std::string &hostWork,
                 double target)
{
    const Growth growth = measureGrowth(bench, hostWork);
    Row row;
    row.what = what;
    row.unit = Unit::Number;
    row.ours = exponent(growth.sizes, growth.ours);
    row.baseline = exponent(growth.sizes, growth.baseline);
    row.target = target;
    report.add(row);
}

} // namespace

void askGrowth(const Bench &bench, Report &report)
{
    addExponent(bench, report, "retrieve all: exponent", "retrieve", 1.05);
    addExponent(bench, report, "select all, each named: exponent", "select", 1.05);
    addExponent(bench, report, "select all, each within a longer address: exponent", "select-longer", 1.05);
}

} // namespace zel::bench
