#include "runner/bench.h"

namespace zel::bench {

namespace {

std::vector<double> ratios(const std::vector<double> &ours, const std::vector<double> &baseline)
{
    std::vector<double> each;
    for (std::size_t i = 0; i < ours.size(); ++i)
        each.push_back(ours[i] / baseline[i]);
    return each;
}

Words joined(Words words, const Words &more)
{
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

} // namespace

Server::Server(const Bench &bench, const Pens &pens, const std::string &rendezvous)
    : m_pens(pens),
      m_program(joined({bench.program("server"), "rendezvous=" + rendezvous}, pens.words())),
      m_port(static_cast<std::uint64_t>(parseFigures(m_program.readLine())["port"]))
{
}

Words Server::words() const
{
    return joined({"port=" + std::to_string(m_port), "server=" + std::to_string(m_program.process())},
                  m_pens.words());
}

Words clientCommand(const Bench &bench, Side side, const std::string &work, const Server &server,
                    const Words &more)
{
    const std::string program = bench.program(side == Side::Host ? "host" : "bare");
    return joined(joined({program, work}, server.words()), more);
}

Figures runClient(const Bench &bench, Side side, const std::string &work, const Server &server,
                  const Words &more, const Words &environment)
{
    return parseFigures(
        runProgram(clientCommand(bench, side, work, server, more), joined(bench.environment(), environment))
            .text);
}

Row Paired::row(const std::string &what, std::optional<double> target, double perItem) const
{
    Row row;
    row.what = what;
    row.ours = spreadOf(ours).median / perItem;
    row.baseline = spreadOf(baseline).median / perItem;
    row.ratio = spreadOf(ratios(ours, baseline));
    if (!oursProcessor.empty())
        row.processorRatio = spreadOf(ratios(oursProcessor, baselineProcessor)).median;
    row.target = target;
    return row;
}

Paired measurePaired(const Bench &bench, const Server &server, const std::string &hostWork,
                     const std::string &bareWork, const Words &more)
{
    Paired paired;
    const auto ours = [&] {
        const Figures figures = runClient(bench, Side::Host, hostWork, server, more);
        paired.ours.push_back(figures.at("seconds"));
        paired.oursProcessor.push_back(figures.at("processor_seconds"));
    };
    const auto theirs = [&] {
        const Figures figures = runClient(bench, Side::Bare, bareWork, server, more);
        paired.baseline.push_back(figures.at("seconds"));
        paired.baselineProcessor.push_back(figures.at("processor_seconds"));
    };
    for (int round = 0; round < bench.rounds(); ++round) {
        if (round % 2 == 0) {
            ours();
            theirs();
        } else {
            theirs();
            ours();
        }
    }
    return paired;
}

Spread measure(const Bench &bench, Side side, const std::string &figure, const std::string &work,
               const Server &server, const Words &more)
{
    std::vector<double> sample;
    for (int round = 0; round < bench.rounds(); ++round)
        sample.push_back(runClient(bench, side, work, server, more).at(figure));
    return spreadOf(std::move(sample));
}

} // namespace zel::bench
