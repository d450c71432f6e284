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

} // namespace penctl
