#pragma once

#include "common/canned.h"

#include <sys/types.h>

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace zel::bench {

using Words = std::vector<std::string>;

/** What a program wrote to standard output and to standard error. */
struct Output {
    std::string text;
    std::string errors;
};

/** Runs a program to its end. If it fails, throws std::runtime_error with its error output. */
Output runProgram(const Words &command, const Words &environment = {});

/** A program that runs until this goes out of scope, which ends its standard input. */
class BackgroundProgram
{
public:
    explicit BackgroundProgram(const Words &command);
    ~BackgroundProgram();
    BackgroundProgram(const BackgroundProgram &) = delete;
    BackgroundProgram &operator=(const BackgroundProgram &) = delete;

    std::string readLine();
    pid_t process() const { return m_process; }

private:
    pid_t m_process = -1;
    int m_input = -1;
    int m_output = -1;
};

/** The figures that a measuring program printed, by name. */
using Figures = std::map<std::string, double>;
Figures parseFigures(const std::string &text);

} // namespace zel::bench
