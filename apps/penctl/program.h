#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace penctl {

/** Runs the whole program and returns its exit code. The arguments are UTF-8, without the program's name. */
int runProgram(std::vector<std::string> arguments);

/** Each adds one command, or a family of commands, to the program: options, help, and what the command does.
 *  The file of that name in commands/ holds its whole story. */
void addList(CLI::App &program);
void addWatch(CLI::App &program);
void addInfo(CLI::App &program);
void addPages(CLI::App &program);
void addFetch(CLI::App &program);
void addRm(CLI::App &program);
void addShow(CLI::App &program);
void addSettings(CLI::App &program);
void addLock(CLI::App &program);
void addHoldings(CLI::App &program);
void addUserData(CLI::App &program);
void addDfu(CLI::App &program);

} // namespace penctl
