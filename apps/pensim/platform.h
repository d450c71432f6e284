#pragma once

#include <string>
#include <vector>

namespace pensim {

// Functions that differ between Linux and Windows, implemented in platform_posix.cpp and
// platform_windows.cpp.

/** The arguments of the program in UTF-8, its name first. */
std::vector<std::string> programArguments(int count, char **texts);

/** Switches the console to UTF-8. leaveConsole() switches it back. */
void prepareConsole();
void leaveConsole();

/** Whether a listener may take a port over from connections that linger. On Windows the option for that would
 *  let two services share the port. */
bool mayReusePorts();

} // namespace pensim
