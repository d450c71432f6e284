#pragma once

#include <string>
#include <vector>

namespace pensim {

// What Linux and Windows do differently: platform_posix.cpp and platform_windows.cpp.

/** The arguments of the program in UTF-8, its name first. */
std::vector<std::string> programArguments(int count, char **texts);

/** Tells the console that what it shows and reads is UTF-8; leaveConsole() gives it back as it was. */
void prepareConsole();
void leaveConsole();

/** Whether a listener may take a port over from connections that linger. On Windows the option for that would
 *  let two services share the port. */
bool mayReusePorts();

} // namespace pensim
