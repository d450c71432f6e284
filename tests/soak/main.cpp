// A long life of random hosts: rounds, one after the other, each from a seed of its own that is told when
// something is wrong, and at the end whether the process grew.
#include "growth.h"
#include "round.h"

#include <CLI/CLI.hpp>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <random>
#include <string>
#include <thread>

#include <fmt/format.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::minutes kLongestRound{3};

struct Options {
    double minutes = 1;
    std::size_t rounds = 0;
    std::uint64_t seed = std::random_device()();
};

std::string replayHint(std::uint64_t seed)
{
    return fmt::format("again: --seed {} --rounds 1", seed);
}

void tell(const std::string &line)
{
    std::puts(line.c_str());
    std::fflush(stdout);
}

// Ends the process when a round hangs: a call that does not return can be ended in no other way.
class Watch
{
public:
    Watch() : m_thread([this](const std::stop_token &stop) { watch(stop); }) {}

    void begin(std::uint64_t seed)
    {
        m_seed = seed;
        m_deadline = (Clock::now() + kLongestRound).time_since_epoch().count();
    }

private:
    void watch(const std::stop_token &stop) const
    {
        while (!stop.stop_requested()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            if (Clock::now().time_since_epoch().count() > m_deadline) {
                tell(fmt::format("FAILED: a round hangs; {}", replayHint(m_seed)));
                std::abort();
            }
        }
    }

    std::atomic<std::uint64_t> m_seed = 0;
    std::atomic<Clock::rep> m_deadline = Clock::time_point::max().time_since_epoch().count();
    std::jthread m_thread;
};

std::string described(const soak::Sample &sample)
{
    return fmt::format("{:>8} KiB in use, {:>6} KiB resident, {:>3} descriptors, {} threads",
                       sample.memory.inUse >> 10, sample.memory.resident >> 10, sample.counts.descriptors,
                       sample.counts.threads);
}

/** Runs the rounds; returns the process's exit code. */
int run(const Options &options)
{
    const auto began = Clock::now();
    const auto elapsed = [&] {
        return std::chrono::duration<double, std::ratio<60>>(Clock::now() - began).count();
    };
    const auto enough = [&](std::size_t rounds) {
        return options.rounds != 0 ? rounds >= options.rounds : elapsed() >= options.minutes;
    };
    tell(fmt::format("seed {}", options.seed));

    Watch watch;
    soak::Growth growth;
    std::size_t rounds = 0;
    std::size_t calls = 0;
    for (double told = 0; !enough(rounds); ++rounds) {
        const std::uint64_t seed = options.seed + rounds;
        watch.begin(seed);
        soak::Round round(seed);
        try {
            round.run();
        } catch (const std::exception &error) {
            tell(fmt::format("FAILED: {}; {}", error.what(), replayHint(seed)));
            return 1;
        }
        calls += round.calls();
        const soak::Sample sample{.memory = soak::measureMemory(), .counts = zel::test::countProcess()};
        growth.add(sample);
        if (elapsed() >= told) {
            tell(fmt::format("{:5.1f} min {:>6} rounds {:>8} calls  {}", elapsed(), rounds + 1, calls,
                             described(sample)));
            told = elapsed() + 1;
        }
    }

    for (std::size_t quarter = 0; quarter < 4 && growth.samples() >= 4; ++quarter)
        tell(fmt::format("quarter {} of {} rounds: {}", quarter + 1, rounds,
                         described(growth.typical(quarter))));
    const std::string complaint = growth.complaint();
    tell(complaint.empty() ? fmt::format("ok - {} rounds, {} calls, {:.1f} minutes", rounds, calls, elapsed())
                           : "FAILED: " + complaint);
    return complaint.empty() ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    CLI::App program("Random hosts against a pen service that misbehaves.");
    Options options;
    program.add_option("--minutes", options.minutes, "How long")->capture_default_str();
    program.add_option("--rounds", options.rounds, "So many rounds, however long they take");
    program.add_option("--seed", options.seed, "Of the first round; each further one counts on from it");
    CLI11_PARSE(program, argc, argv);
    return run(options);
}
