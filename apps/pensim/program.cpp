#include "program.h"

#include "control_port.h"
#include "desk.h"
#include "io_thread.h"
#include "platform.h"
#include "state_json.h"

#include <CLI/CLI.hpp>
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
constexpr int kLogIncomplete = 4;

struct Arguments {
    std::string scenario;
    std::uint16_t port = 3715;
    std::optional<std::uint16_t> controlPort;
    std::optional<std::uint16_t> webPort;
    bool log = false;
    bool logJson = false;
    std::string logFile;
    std::string readyFile;
    bool quitAtEnd = false;
};

void describe(CLI::App &app, Arguments &arguments)
{
    app.set_version_flag("-V,--version", "pensim " PENSIM_VERSION);
    app.add_option("-s,--scenario", arguments.scenario, "JSON file that tells the pens (default: built in)");
    app.add_option("-p,--port", arguments.port, "port of the rendezvous server, 0 for any free one")
        ->capture_default_str();
    app.add_option("-c,--control", arguments.controlPort,
                   "take commands as JSON lines on this port, 0 for any free one");
    app.add_option_function<std::uint16_t>(
           "-w,--web", [&](std::uint16_t port) { arguments.webPort = port; },
           "show the pens on a page for browsers, on this port or on any free one")
        ->expected(0, 1)
        ->option_text("[PORT]");
    app.add_flag("-l,--log", arguments.log, "log every exchange to standard error");
    app.add_flag("--log-json", arguments.logJson, "log JSON objects, one a line");
    app.add_option("--log-file", arguments.logFile, "log every exchange to this file");
    app.add_option("--ready-file", arguments.readyFile,
                   "write ports and pens to this file once they can be reached, and remove it at the end");
    app.add_flag("--quit-at-end", arguments.quitAtEnd, "end when standard input ends");
    app.footer(
        "Commands are read from standard input, a line each; \"help\" tells them. Without \"quit\" the "
        "service runs until it is interrupted.\n"
        "Exit codes: 0 ended as asked, 1 bad command line, 2 bad scenario, 3 cannot listen, 4 the log is "
        "incomplete.");
}

// Where the log goes, each entry with the seconds since the start.
class LogWriter
{
public:
    explicit LogWriter(const Arguments &arguments)
        : m_json(arguments.logJson),
          m_toStderr(arguments.log || (arguments.logJson && arguments.logFile.empty())),
          m_name(arguments.logFile)
    {
        if (m_name.empty())
            return;
        m_file.open(pensim::pathOf(m_name), std::ios::binary);
        if (!m_file)
            throw std::runtime_error("cannot write " + m_name);
    }

    bool wanted() const { return m_toStderr || m_file.is_open(); }
    bool complete() const { return m_complete; }

    void write(const pensim::LogEntry &entry)
    {
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - m_start;
        const std::string text =
            m_json ? fmt::format("{{\"time\":{:.6f},{}\n", elapsed.count(), entry.json.substr(1))
                   : fmt::format("{:9.3f} {}\n", elapsed.count(), entry.text);
        if (m_toStderr)
            std::cerr << text;
        if (m_file.is_open() && m_complete && !(m_file << text << std::flush)) {
            m_complete = false;
            std::cerr << fmt::format("pensim: cannot write {}; the log ends here\n", m_name);
        }
    }

private:
    const bool m_json;
    const bool m_toStderr;
    const std::string m_name;
    std::ofstream m_file;
    bool m_complete = true;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

// The file gets its name only when it is complete, so that nobody reads half a file. It is removed when the
// service ends.
class ReadyFile
{
public:
    ReadyFile() = default;
    ~ReadyFile()
    {
        std::error_code ignored;
        if (!m_path.empty())
            std::filesystem::remove(m_path, ignored);
    }
    ReadyFile(const ReadyFile &) = delete;
    ReadyFile &operator=(const ReadyFile &) = delete;

    void write(const std::string &name, const std::string &text)
    {
        const std::filesystem::path unfinished = pensim::pathOf(name + ".new");
        std::ofstream file(unfinished, std::ios::binary);
        file << text;
        file.close();
        std::error_code error;
        if (file)
            std::filesystem::rename(unfinished, pensim::pathOf(name), error);
        if (!file || error) {
            std::error_code ignored;
            std::filesystem::remove(unfinished, ignored);
            throw std::runtime_error("cannot write " + name);
        }
        m_path = pensim::pathOf(name);
    }

private:
    std::filesystem::path m_path;
};

// The service and what steers it.
struct House {
    House(const pensim::Options &options, const pensim::Scenario &scenario) : service(options, scenario) {}

    pensim::Service service;
    pensim::Control control{service};
    std::unique_ptr<pensim::ControlPort> controlPort;
    std::unique_ptr<pensim::Desk> desk;
    asio::io_context main; // runs on the first thread until the service is to end
};

// Standard input has a thread of its own. Nothing can wake that thread while it waits for a line, so it is
// not joined at the end, and it shares the ownership of what it uses.
void readCommands(const std::shared_ptr<House> &house, bool quitAtEnd)
{
    std::thread([house, quitAtEnd] {
        for (std::string line; std::getline(std::cin, line);) {
            if (line.ends_with('\r'))
                line.pop_back();
            if (line.find_first_not_of(" \t") == line.npos)
                continue;
            const pensim::ControlAnswer answer = house->control.runLineAndWait(line);
            std::cout << (line.starts_with("{") ? answer.toJsonLine() : answer.toText()) << std::flush;
            if (answer.quit)
                house->main.stop();
        }
        if (quitAtEnd)
            house->main.stop();
    }).detach();
}

void runUntilStopped(const std::shared_ptr<House> &house, const Arguments &arguments)
{
    const auto work = asio::make_work_guard(house->main);
    asio::signal_set signals(house->main, SIGINT, SIGTERM);
    signals.async_wait([&](asio::error_code, int) { house->main.stop(); });
    const std::uint16_t controlPort = house->controlPort ? house->controlPort->port() : 0;
    std::cout << house->control.runLineAndWait("list").text;
    const std::string desk = house->desk ? house->desk->address() : "";
    ReadyFile readyFile;
    if (!arguments.readyFile.empty())
        readyFile.write(arguments.readyFile, pensim::readyReport(house->service, controlPort, desk));
    if (controlPort != 0)
        std::cout << "control on port " << controlPort << '\n';
    if (!desk.empty())
        std::cout << "desk: " << desk << '\n';
    std::cout << "ready on port " << house->service.rendezvousPort() << std::endl;
    readCommands(house, arguments.quitAtEnd);
    house->main.run();
    house->desk.reset();
    house->controlPort.reset();
    house->service.stop();
}

int serve(const Arguments &arguments)
{
    pensim::Scenario scenario;
    try {
        scenario = arguments.scenario.empty() ? pensim::defaultScenario()
                                              : pensim::loadScenario(pensim::pathOf(arguments.scenario));
    } catch (const std::exception &error) {
        std::cerr << "pensim: " << error.what() << '\n';
        return kBadScenario;
    }
    LogWriter log(arguments);
    pensim::Options options{.rendezvousPort = arguments.port, .record = false, .log = {}};
    pensim::Journal journal;
    if (log.wanted() || arguments.webPort)
        options.log = [&](const pensim::LogEntry &entry) {
            log.write(entry);
            if (arguments.webPort)
                journal.add(entry);
        };
    const auto house = std::make_shared<House>(options, scenario);
    try {
        house->service.start();
        if (arguments.controlPort)
            house->controlPort = std::make_unique<pensim::ControlPort>(
                house->service, house->control, *arguments.controlPort, [&] { house->main.stop(); });
        if (arguments.webPort)
            house->desk = std::make_unique<pensim::Desk>(house->service, house->control, journal,
                                                         *arguments.webPort, arguments.scenario);
    } catch (const std::system_error &error) {
        std::cerr << "pensim: " << error.what()
                  << "\nIs another pen service running? Stop it, or choose other ports (--port, \"port\").\n";
        return kCannotListen;
    }
    runUntilStopped(house, arguments);
    return log.complete() ? 0 : kLogIncomplete;
}

int run(std::vector<std::string> texts)
{
    CLI::App app("A simulated pen service: hosts find its pens and talk to them as to real ones.", "pensim");
    Arguments arguments;
    describe(app, arguments);
    try {
        if (!texts.empty())
            texts.erase(texts.begin());           // the program's own name
        std::reverse(texts.begin(), texts.end()); // as the parser wants them
        app.parse(std::move(texts));
        return serve(arguments);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : kBadCommandLine;
    } catch (const std::exception &error) {
        std::cerr << "pensim: " << error.what() << '\n';
        return kBadCommandLine;
    }
}

} // namespace

void pensim::runProgram(int count, char **texts)
{
    prepareConsole();
    const int code = run(programArguments(count, texts));
    std::cout.flush();
    leaveConsole();
    std::_Exit(code); // does not wait for the thread that reads standard input
}
