#pragma once

namespace CLI {
class App;
}

namespace penctl {

/** Each adds one command, or a family of commands, to the program: its options, its help, and what it does.
 */

void addList(CLI::App &program);
void addWatch(CLI::App &program);
void addInfo(CLI::App &program);
void addPages(CLI::App &program);
void addFetch(CLI::App &program);
void addRm(CLI::App &program);
void addShow(CLI::App &program);
void addGet(CLI::App &program);
void addSet(CLI::App &program);
void addLock(CLI::App &program);
void addUnlock(CLI::App &program);
void addPassword(CLI::App &program);
void addHoldings(CLI::App &program);
void addUserData(CLI::App &program);
void addDfu(CLI::App &program);

} // namespace penctl
