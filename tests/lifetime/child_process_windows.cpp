#include "child_process.h"

#include <process.h>

namespace lifetime {

int runChild(const std::string &program, const std::vector<std::string> &arguments)
{
    // It puts a command line together without quotes: no argument here has a space in it.
    std::vector<const char *> argv{program.c_str()};
    for (const std::string &argument : arguments)
        argv.push_back(argument.c_str());
    argv.push_back(nullptr);
    return static_cast<int>(_spawnv(_P_WAIT, (program + ".exe").c_str(), argv.data()));
}

} // namespace lifetime
