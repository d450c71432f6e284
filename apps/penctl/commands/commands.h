#pragma once

#include <CLI/CLI.hpp>

namespace penctl {

/** Each adds one command to the program: its options, its help, and what it does. A command runs when all
 * arguments have been read, and raises Failure when it does not succeed. */

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
void addCert(CLI::App &program);
void addKey(CLI::App &program);
void addEncrypted(CLI::App &program);
void addUserData(CLI::App &program);
void addDfu(CLI::App &program);

} // namespace penctl
