#include "commands/program.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <sstream>

#include <CLI/CLI.hpp>

#include "commands/command.h"
#include "penctl_pens.h"
#include "ui/interrupt.h"

namespace penctl {

namespace {

constexpr const char *kExitCodes =
    "Exit codes: 0 done; 1 to 11 the library's result, told in words on standard error;\n"
    "64 wrong usage, 65 damaged file, 66 unreadable file, 69 no such pen, 74 cannot write,\n"
    "75 another penctl has the pen, 77 not agreed to, 130 interrupted.";

constexpr void (*kCommands[])(CLI::App &program) = {addList,     addWatch, addInfo,     addPages, addFetch,
                                                    addRm,       addShow,  addSettings, addLock,  addHoldings,
                                                    addUserData, addDfu,   addDoctor,   addExport};

std::string versionText()
{
    return "penctl, library " + zelpp::apiVersion() + "\n" PENCTL_PENS;
}

void parseAndRun(CLI::App &program, std::vector<std::string> arguments)
{
    std::reverse(arguments.begin(), arguments.end());
    try {
        program.parse(arguments);
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() != 0)
            throw Failure(kUsageError, printable(error.what()) + "\nRun with --help for more information.");
        std::ostringstream help;
        program.exit(error, help);
        return print(help.str());
    }
    if (program.get_subcommands().empty())
        throw Failure(kUsageError, "say what to do; penctl --help lists the commands");
}

void run(std::vector<std::string> arguments)
{
    CLI::App program("Talks to digital pens through the pen service of this machine.", "penctl");
    program.footer(kExitCodes);
    // Not 1: CLI11 would then answer a mistyped command with "a subcommand is required".
    program.require_subcommand(0, 1);
    program.set_version_flag("--version", versionText, "Print the version and leave");
    for (const auto add : kCommands)
        add(program);
    parseAndRun(program, std::move(arguments));
    finishOutput();
}

int failWith(int exitCode, const std::string &text)
{
    std::fflush(stdout);
    if (!text.empty())
        note("penctl: " + text);
    return exitCode;
}

int exitCodeOf(std::vector<std::string> arguments)
{
    const OnInterrupt restore([] {
        restoreConsole();
        return std::string();
    });
    try {
        run(std::move(arguments));
        return 0;
    } catch (const Failure &failure) {
        return failWith(failure.exitCode(), failure.what());
    } catch (const std::exception &error) {
        return failWith(kInternalError, error.what());
    }
}

} // namespace

int runProgram(std::vector<std::string> arguments)
{
    prepareConsole();
    listenForInterrupts();
    const int exitCode = exitCodeOf(std::move(arguments));
    endInterrupts();
    restoreConsole();
    return exitCode;
}

} // namespace penctl
