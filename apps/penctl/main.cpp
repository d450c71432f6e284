#include <algorithm>
#include <cstdio>
#include <exception>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "commands/commands.h"
#include "exit_code.h"
#include "failure.h"
#include "host/host_memory.h"
#include "ui/output.h"
#include "ui/terminal.h"

namespace {

using namespace penctl;

constexpr const char *kExitCodes =
    "Exit codes: 0 done; 1 to 11 the library's result, told in words on standard error;\n"
    "64 wrong usage, 65 damaged file, 66 unreadable file, 69 no such pen, 74 cannot write,\n"
    "77 not agreed to, 130 interrupted.";

std::string versionText()
{
    LibraryText version;
    zelGetApiVersion(version.out());
    return "penctl, library " + version.str();
}

std::string complaint(const CLI::App *program, const CLI::Error &error)
{
    return "penctl: " + CLI::FailureMessage::simple(program, error);
}

void addCommands(CLI::App &program)
{
    addList(program);
    addWatch(program);
    addInfo(program);
    addPages(program);
    addFetch(program);
    addRm(program);
    addShow(program);
    addGet(program);
    addSet(program);
    addLock(program);
    addUnlock(program);
    addPassword(program);
    addCert(program);
    addKey(program);
    addEncrypted(program);
    addUserData(program);
    addDfu(program);
}

/** CLI11 prints help and complaints itself; of its own exit codes only "all is well" is kept. */
int parseAndRun(CLI::App &program, std::vector<std::string> arguments)
{
    arguments.erase(arguments.begin());
    std::reverse(arguments.begin(), arguments.end());
    try {
        program.parse(arguments);
    } catch (const CLI::ParseError &error) {
        return program.exit(error) == 0 ? 0 : kUsageError;
    }
    if (program.get_subcommands().empty())
        throw Failure(kUsageError, "say what to do; penctl --help lists the commands");
    finishOutput();
    return 0;
}

int run(const std::vector<std::string> &arguments)
{
    CLI::App program("Talks to digital pens through the pen service of this machine.", "penctl");
    program.footer(kExitCodes);
    // A subcommand is required, but CLI11 would say so of one that is mistyped too.
    program.require_subcommand(0, 1);
    program.failure_message(complaint);
    program.set_version_flag("--version", versionText, "Print the version and leave");
    addCommands(program);
    return parseAndRun(program, arguments);
}

} // namespace

int main(int argc, char **argv)
{
    try {
        prepareConsole();
        return run(programArguments(argc, argv));
    } catch (const Failure &failure) {
        std::fflush(stdout);
        note(fmt::format("penctl: {}", failure.what()));
        return failure.exitCode();
    } catch (const std::exception &error) {
        note(fmt::format("penctl: {}", error.what()));
        return kInternalError;
    }
}
