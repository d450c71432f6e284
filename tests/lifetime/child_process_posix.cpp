#include "child_process.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace lifetime {

int runChild(const std::string &program, const std::vector<std::string> &arguments)
{
    std::vector<char *> argv{const_cast<char *>(program.c_str())};
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    pid_t child = 0;
    if (posix_spawnp(&child, program.c_str(), nullptr, nullptr, argv.data(), environ) != 0)
        return -1;
    int status = 0;
    if (waitpid(child, &status, 0) != child)
        return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

} // namespace lifetime
