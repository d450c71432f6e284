#include "runner/process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <sstream>

namespace zel::bench {

namespace {

struct Pipe {
    Pipe()
    {
        if (pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error(std::string("pipe: ") + std::strerror(errno));
    }

    int ends[2];
    int readEnd() const { return ends[0]; }
    int writeEnd() const { return ends[1]; }
};

[[noreturn]] void become(const Words &command, const Words &environment)
{
    for (const std::string &entry : environment)
        putenv(strdup(entry.c_str()));
    std::vector<char *> arguments;
    for (const std::string &word : command)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    dprintf(STDERR_FILENO, "%s: %s\n", arguments[0], std::strerror(errno));
    _exit(127);
}

/** Reads both pipes at once to their ends, because a program that fills one of them would wait for ever. */
Output readAll(int output, int errors)
{
    Output result;
    pollfd watched[] = {{output, POLLIN, 0}, {errors, POLLIN, 0}};
    std::string *const texts[] = {&result.text, &result.errors};
    for (int open = 2; open > 0;) {
        poll(watched, 2, -1);
        for (int i = 0; i < 2; ++i) {
            if (watched[i].fd < 0 || watched[i].revents == 0)
                continue;
            char buffer[4096];
            const ssize_t count = read(watched[i].fd, buffer, sizeof buffer);
            if (count > 0) {
                texts[i]->append(buffer, static_cast<std::size_t>(count));
            } else {
                watched[i].fd = -1;
                --open;
            }
        }
    }
    return result;
}

} // namespace

Output runProgram(const Words &command, const Words &environment)
{
    const Pipe output, errors;
    const pid_t process = fork();
    if (process == 0) {
        dup2(output.writeEnd(), STDOUT_FILENO);
        dup2(errors.writeEnd(), STDERR_FILENO);
        become(command, environment);
    }
    close(output.writeEnd());
    close(errors.writeEnd());
    Output result = readAll(output.readEnd(), errors.readEnd());
    close(output.readEnd());
    close(errors.readEnd());
    int status = 0;
    waitpid(process, &status, 0);
    if (status != 0) {
        const std::string program = command[0].substr(command[0].rfind('/') + 1);
        const std::string why = result.errors.substr(0, result.errors.find_last_not_of('\n') + 1);
        throw std::runtime_error(program + " failed: " + why.substr(why.rfind('\n') + 1));
    }
    return result;
}

BackgroundProgram::BackgroundProgram(const Words &command)
{
    const Pipe input, output;
    m_process = fork();
    if (m_process == 0) {
        dup2(input.readEnd(), STDIN_FILENO);
        dup2(output.writeEnd(), STDOUT_FILENO);
        become(command, {});
    }
    close(input.readEnd());
    close(output.writeEnd());
    m_input = input.writeEnd();
    m_output = output.readEnd();
}

BackgroundProgram::~BackgroundProgram()
{
    close(m_input);
    close(m_output);
    waitpid(m_process, nullptr, 0);
}

std::string BackgroundProgram::readLine()
{
    std::string line;
    for (char byte = 0; read(m_output, &byte, 1) == 1 && byte != '\n';)
        line += byte;
    if (line.empty())
        throw std::runtime_error("the server did not start");
    return line;
}

Figures parseFigures(const std::string &text)
{
    Figures figures;
    std::istringstream lines(text);
    std::string key;
    for (double value = 0; lines >> key >> value;)
        figures[key] = value;
    return figures;
}

} // namespace zel::bench
