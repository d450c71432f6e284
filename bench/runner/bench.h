#pragma once

#include "common/canned.h"
#include "runner/process.h"
#include "runner/report.h"

#include <string>
#include <vector>

namespace zel::bench {

/** What the questions work with: the programs of the build and the rounds of a measurement. */
class Bench
{
public:
    /** library: the folder of the library to measure; that of the build when it is empty. */
    Bench(std::string directory, int rounds, const std::string &library)
        : m_directory(std::move(directory)),
          m_rounds(rounds),
          m_library(library.empty() ? m_directory + "/.." : library)
    {
    }

    int rounds() const { return m_rounds; }
    std::string library() const { return m_library + "/libzel.so"; }
    /** For every client. */
    Words environment() const { return {"LD_LIBRARY_PATH=" + m_library}; }
    std::string program(const std::string &name) const { return m_directory + "/zel_bench_" + name; }
    const std::string &directory() const { return m_directory; }

private:
    std::string m_directory;
    int m_rounds;
    std::string m_library;
};

/** A server process; its pens' port goes to the clients. */
class Server
{
public:
    Server(const Bench &bench, const Pens &pens, const std::string &rendezvous = "list");

    /** The words that tell a client about this server and its pens. */
    Words words() const;

private:
    Pens m_pens;
    BackgroundProgram m_program;
    std::uint64_t m_port = 0;
};

/** The programs that make the exchanges: the library's host and the bare client. */
enum class Side { Host, Bare };

Words clientCommand(const Bench &bench, Side side, const std::string &work, const Server &server,
                    const Words &more = {});
Figures runClient(const Bench &bench, Side side, const std::string &work, const Server &server,
                  const Words &more = {}, const Words &environment = {});

/** Both sides' figures for one piece of work, round by round in turn: ours, theirs, theirs, ours, ...
 *  so that a machine that slows down slows down both. */
struct Paired {
    std::vector<double> ours;
    std::vector<double> baseline;
    /** Processor time of client and server together; empty where there is no server. */
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
