#pragma once

#include <string>
#include <vector>

namespace penctl {

/** Runs the whole program and returns its exit code. The arguments are UTF-8, without the program's name. */
int runProgram(std::vector<std::string> arguments);

} // namespace penctl
