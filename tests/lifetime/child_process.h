#pragma once

#include <string>
#include <vector>

namespace lifetime {

/** Runs a program to its end. Its exit code; one that a signal or an exception of the system ended has
 * another than 0 to 100. The program is named without ".exe". */
int runChild(const std::string &program, const std::vector<std::string> &arguments);

} // namespace lifetime
