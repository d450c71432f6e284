// A host that goes on using the library while its process ends: in a handler of atexit() that it installed
// before the first use, or on a thread that runs on when main() has returned. Every export must then return
// what it returned before.
//
//   late_host handler|thread
//
// Exit code 0 when it does; what differs is on the standard error output.
#include "every_export.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kHandlerDidNotRun = 3;
constexpr int kRoundsOfTheThread = 3;

using Results = std::vector<std::string>;

// Never destroyed, as everything here that is used while the process ends.
lifetime::EveryExport *s_host;
Results *s_usual;
std::atomic<int> *s_rounds;

Results resultsOf(void (*calls)(lifetime::EveryExport &))
{
    const std::size_t before = s_host->results().size();
    calls(*s_host);
    return {s_host->results().begin() + static_cast<std::ptrdiff_t>(before), s_host->results().end()};
}

void oneSession(lifetime::EveryExport &host)
{
    host.open();
    host.call();
    host.close();
}

[[noreturn]] void endWith(int code)
{
    std::fflush(stderr);
    std::_Exit(code);
}

void expectUsual(const Results &results)
{
    if (results == *s_usual)
        return;
    for (std::size_t i = 0; i < std::max(results.size(), s_usual->size()); ++i)
        if (i >= results.size() || i >= s_usual->size() || results[i] != (*s_usual)[i])
            std::fprintf(stderr, "%s, usually %s\n", i < results.size() ? results[i].c_str() : "nothing",
                         i < s_usual->size() ? (*s_usual)[i].c_str() : "nothing");
    endWith(1);
}

/** Runs after the destructors of all that was made after it was installed. */
void lateHandler()
{
    if (s_rounds != nullptr) {
        for (const int begun = *s_rounds; *s_rounds < begun + kRoundsOfTheThread;)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        endWith(0);
    }
    s_host->close(); // main() has left it open
    expectUsual(resultsOf(oneSession));
    expectUsual(resultsOf(oneSession));
    endWith(0);
}

void sessionsForEver()
{
    for (;;) {
        expectUsual(resultsOf(oneSession));
        ++*s_rounds;
    }
}

} // namespace

int main(int count, char **arguments)
{
    const std::string mode = count == 2 ? arguments[1] : "";
    if ((mode != "handler" && mode != "thread") || std::atexit(lateHandler) != 0)
        return 2;
    s_host = new lifetime::EveryExport;
    resultsOf(oneSession); // the pen is not as new afterwards
    s_usual = new Results(resultsOf(oneSession));
    if (s_host->exportsCalled() != ZEL_EXPORT_COUNT) {
        std::fprintf(stderr, "%zu exports called\n", s_host->exportsCalled());
        endWith(1);
    }
    if (mode == "thread") {
        s_rounds = new std::atomic<int>(0);
        std::thread(sessionsForEver).detach();
        while (*s_rounds == 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    } else {
        s_host->open();
    }
    return kHandlerDidNotRun;
}
