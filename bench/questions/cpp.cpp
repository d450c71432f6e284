#include "questions/question.h"

namespace zel::bench {

namespace {

Row comparedRow(const Bench &bench, const Pens &pens, const std::string &work, const std::string &what,
                double perItem, const Words &more = {})
{
    constexpr double kTurns = 20; // of the peer
    const Server server(bench, pens);
    Words words{bench.program("cpp"), work};
    for (const Words &further : {server.words(), more})
        words.insert(words.end(), further.begin(), further.end());
    std::vector<double> ratios;
    std::vector<double> c;
    std::vector<double> cpp;
    for (int round = 0; round < bench.rounds(); ++round) {
        const Figures figures = parseFigures(runProgram(words).text);
        c.push_back(figures.at("c"));
        cpp.push_back(figures.at("cpp"));
        ratios.push_back(cpp.back() / c.back());
    }
    Row row;
    row.what = what;
    row.ours = spreadOf(cpp).median / kTurns / perItem;
    row.baseline = spreadOf(c).median / kTurns / perItem;
    row.ratio = spreadOf(ratios);
    row.target = 1.05;
    return row;
}

} // namespace

void askCpp(const Bench &bench, Report &report)
{
    report.add(
        comparedRow(bench, Pens{}, "exchanges", "1,000 small exchanges, each", 1000, {"exchanges=1000"}));
    Pens pens;
    pens.pages = 1000;
    pens.pageSize = 2000;
    report.add(comparedRow(bench, pens, "retrieve", "1,000 pages of 2,000 bytes, each", 1000));
}

} // namespace zel::bench
