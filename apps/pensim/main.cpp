// pensim: a pen service without pens, for trying and testing hosts.

#include "commands.h"

#include <CLI/CLI.hpp>
#include <asio.hpp>
#include <cstdio>
#include <fmt/format.h>
#include <fstream>
#include <iostream>
#include <thread>

namespace {

// Exit codes; 0 is the orderly end.
constexpr int kBadCommandLine = 1;
constexpr int kBadScenario = 2;
constexpr int kCannotListen = 3;

struct Arguments {
    std::string scenario;
    std::uint16_t port = 3715;
    bool log = false;
    std::string logFile;
    std::string readyFile;
    bool quitAtEnd = false;
};

void describe(CLI::App &app, Arguments &arguments)
{
    app.add_option("-s,--scenario", arguments.scenario, "JSON file that tells the pens (default: built in)");
    app.add_option("-p,--port", arguments.port, "port of the rendezvous server, 0 for any free one")
        ->capture_default_str();
    app.add_flag("-l,--log", arguments.log, "log every exchange to standard error");
    app.add_option("--log-file", arguments.logFile, "log every exchange to this file");
    app.add_option("--ready-file", arguments.readyFile,
                   "write ports and pens to this file once they can be reached");
    app.add_flag("--quit-at-end", arguments.quitAtEnd, "end when standard input ends");
    app.footer(
        "Commands are read from standard input, a line each; \"help\" tells them. Without \"quit\" the "
        "service "
        "runs until it is interrupted.\nExit codes: 0 ended as asked, 1 bad command line, 2 bad scenario, 3 "
        "cannot listen.");
}

// Where the log lines go, each with the seconds since the start.
class LogWriter
{
public:
    explicit LogWriter(const Arguments &arguments) : m_toStderr(arguments.log)
    {
        if (arguments.logFile.empty())
            return;
        m_file.open(arguments.logFile);
        if (!m_file)
            throw std::runtime_error("cannot write " + arguments.logFile);
    }
    bool wanted() const { return m_toStderr || m_file.is_open(); }
    void write(const std::string &line)
    {
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - m_start;
        const std::string text = fmt::format("{:9.3f} {}\n", elapsed.count(), line);
        if (m_toStderr)
            std::cerr << text;
        if (m_file.is_open())
            m_file << text << std::flush;
    }

private:
    bool m_toStderr;
    std::ofstream m_file;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

// A reader never sees half a file: it appears under its name when it is whole.
void writeReadyFile(const std::string &path, const std::string &text)
{
    const std::string unfinished = path + ".new";
    std::ofstream file(unfinished, std::ios::binary);
    file << text;
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + path);
    std::filesystem::rename(unfinished, path);
}

// Standard input has its own thread, which nothing can wake while it waits for a line: it is left behind at
// the end.
void readCommands(std::shared_ptr<asio::io_context> main, std::function<void(const std::string &)> command,
                  std::function<void()> end)
{
    std::thread([main = std::move(main), command = std::move(command), end = std::move(end)] {
        for (std::string line; std::getline(std::cin, line);)
            asio::post(*main, [command, line] { command(line); });
        asio::post(*main, end);
    }).detach();
}

void runUntilStopped(pensim::Service &service, const Arguments &arguments)
{
    const auto main = std::make_shared<asio::io_context>();
    const auto work = asio::make_work_guard(*main);
    asio::signal_set signals(*main, SIGINT, SIGTERM);
    signals.async_wait([&](asio::error_code, int) { main->stop(); });
    pensim::Commands commands(service, std::cout);
    commands.list();
    if (!arguments.readyFile.empty())
        writeReadyFile(arguments.readyFile, pensim::readyReport(service));
    std::cout << "ready on port " << service.rendezvousPort() << std::endl;
    readCommands(
        main,
        [&](const std::string &line) {
            if (!commands.run(line))
                main->stop();
        },
        [&] {
            if (arguments.quitAtEnd)
                main->stop();
        });
    main->run();
}

int serve(const Arguments &arguments)
{
    pensim::Scenario scenario;
    try {
        scenario =
            arguments.scenario.empty() ? pensim::defaultScenario() : pensim::loadScenario(arguments.scenario);
    } catch (const std::exception &error) {
        std::cerr << "pensim: " << error.what() << '\n';
        return kBadScenario;
    }
    LogWriter log(arguments);
    pensim::Options options{.rendezvousPort = arguments.port, .record = false, .log = {}};
    if (log.wanted())
        options.log = [&log](const std::string &line) { log.write(line); };
    pensim::Service service(options, scenario);
    try {
        service.start();
    } catch (const std::system_error &error) {
        std::cerr << "pensim: " << error.what()
                  << "\nIs another pen service running? Stop it, or choose other ports (--port, \"port\").\n";
        return kCannotListen;
    }
    runUntilStopped(service, arguments);
    return 0;
}

int run(int count, char **texts)
{
    CLI::App app("A simulated pen service: hosts find its pens and talk to them as to real ones.", "pensim");
    Arguments arguments;
    describe(app, arguments);
    try {
        app.parse(count, texts);
        return serve(arguments);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : kBadCommandLine;
    } catch (const std::exception &error) {
        std::cerr << "pensim: " << error.what() << '\n';
        return kBadCommandLine;
    }
}

} // namespace

int main(int count, char **texts)
{
    const int code = run(count, texts);
    std::cout.flush();
    std::_Exit(code); // past the thread that waits for a line of standard input
}
