#pragma once

#include <string>
#include <vector>

namespace penctl {

/** The whole program. The arguments are UTF-8, without the program's own name; the result is its exit code.
 */
int runProgram(std::vector<std::string> arguments);

} // namespace penctl
