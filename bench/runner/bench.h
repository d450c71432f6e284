#pragma once

#include "common/canned.h"
#include "runner/process.h"
#include "runner/report.h"

#include <string>
#include <vector>

namespace zel::bench {

/** What the questions use: the programs of the build, and the rounds of a measurement. */
class Bench
{
public:
    /** library: the folder of the library to measure; empty for the library of this build. */
    Bench(std::string directory, int rounds, const std::string &library)
        : m_directory(std::move(directory)),
          m_rounds(rounds),
          m_library(library.empty() ? m_directory + "/.." : library)
    {
    }

    int rounds() const { return m_rounds; }
    std::string libraryFile() const { return m_library + "/libzel.so"; }
    /** For every client. */
    Words environment() const { return {"LD_LIBRARY_PATH=" + m_library}; }
    std::string program(const std::string &name) const { return m_directory + "/zel_bench_" + name; }
    const std::string &directory() const { return m_directory; }

private:
    std::string m_directory;
    int m_rounds;
    std::string m_library;
};

/** A server process. The clients are told the port of its pens. */
class Server
{
public:
    Server(const Bench &bench, const Pens &pens, const std::string &rendezvous = "list");

    /** The arguments that tell a client about this server and its pens. */
    Words words() const;

private:
    Pens m_pens;
    BackgroundProgram m_program;
    std::uint64_t m_port = 0;
};

/** The programs that make the exchanges: the host, which uses the library, and the bare client. */
enum class Side { Host, Bare };

Words clientCommand(const Bench &bench, Side side, const std::string &work, const Server &server,
                    const Words &more = {});
Figures runClient(const Bench &bench, Side side, const std::string &work, const Server &server,
                  const Words &more = {}, const Words &environment = {});

/** The figures of both sides for one kind of work. The sides take turns (ours, theirs, theirs, ours, ...), so
 * if the machine slows down, both slow down. */
struct Paired {
    std::vector<double> ours;
    std::vector<double> baseline;
    /** Processor time of client and server together; empty if there is no server. */
    std::vector<double> oursProcessor = {};
    std::vector<double> baselineProcessor = {};

    Row row(const std::string &what, std::optional<double> target, double perItem = 1) const;
};

Paired measurePaired(const Bench &bench, const Server &server, const std::string &hostWork,
                     const std::string &bareWork, const Words &more = {});

/** The median of one figure over the rounds. */
Spread measure(const Bench &bench, Side side, const std::string &figure, const std::string &work,
               const Server &server, const Words &more = {});

} // namespace zel::bench
