#include "questions/micro.h"
#include "questions/question.h"

namespace zel::bench {

namespace {

class Internals
{
public:
    Internals(MicroResults results, Report &report) : m_results(std::move(results)), m_report(report) {}

    void beside(const std::string &name, const std::string &size, const std::string &what, double target)
    {
        m_report.add(
            Paired{m_results.at(name + "/zel/" + size).seconds, m_results.at(name + "/bare/" + size).seconds}
                .row(what, target));
    }

    void alone(const std::string &name, const std::string &what, double target)
    {
        Row row;
        row.what = what;
        row.ours = spreadOf(m_results.at(name).seconds).median;
        row.target = target;
        m_report.add(row);
    }

    void growth(const std::string &name, const std::vector<double> &sizes, const std::string &what,
                double target)
    {
        std::vector<double> medians;
        for (const double size : sizes)
            medians.push_back(
                spreadOf(m_results.at(name + "/" + std::to_string(static_cast<long>(size))).seconds).median);
        Row row;
        row.what = what + ": exponent";
        row.unit = Unit::Number;
        row.ours = growthExponent(sizes, medians);
        row.target = target;
        m_report.add(row);
    }

private:
    MicroResults m_results;
    Report &m_report;
};

} // namespace

void askInternals(const Bench &bench, Report &report)
{
    Internals internals(runMicro(bench, "internals"), report);
    const std::vector<double> pages = {5'000, 10'000, 20'000, 40'000};
    const std::vector<double> bytes = {1 << 19, 1 << 20, 1 << 21, 1 << 22};
    internals.growth("log-text", bytes, "long text for the log", 1.1);
    internals.growth("request", pages, "pages put into a request", 1.2);
    internals.beside("sort", "40000", "sort 40,000 pages, over std::stable_sort", 1.5);
    internals.beside("list-text", "20000", "text of 20,000 addresses, over snprintf", 1);
    internals.growth("list-text-growth", pages, "text of the addresses", 1.1);
    internals.beside("answer-text", "20000", "text form of a list of 20,000, over snprintf", 1);
    internals.beside("binary", "4194304", "binary of 4 MiB off a stream, over memcpy", 1.6);
    internals.beside("escaped", "1048576", "escaped binary of 1 MiB, over a loop", 1.5);
    internals.alone("looks-encoded/plain/4194304", "do 4 MiB of strokes look encoded?", 1e-6);
    internals.alone("looks-encoded/almost/4194304", "the same of a list spoilt near its end", 10e-3);
    internals.growth("text-of-nested", bytes, "text of binaries within binaries", 1.2);
}

} // namespace zel::bench
