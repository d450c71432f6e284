#include "questions/question.h"

namespace zel::bench {

void askExchanges(const Bench &bench, Report &report)
{
    const Server server(bench, Pens{});
    const auto repeat = [&](const std::string &work, std::uint64_t count) {
        return measurePaired(bench, server, work, work, {"exchanges=" + std::to_string(count)});
    };
    report.add(repeat("exchanges", 20'000).row("20,000 small exchanges, each", 1.08, 20'000));
    // Sent in two parts; without TCP_NODELAY the second waits 40 ms for the peer's acknowledgement.
    report.add(repeat("large-exchanges", 500).row("500 requests of 6,000 bytes, each", 1.25, 500));
}

} // namespace zel::bench
