#include "ui/output.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <fmt/format.h>

#include "exit_code.h"
#include "failure.h"

namespace penctl {

namespace {

[[noreturn]] void failOnOutput()
{
    // Who closed the pipe ("penctl show f | head") has read enough and wants no complaint.
    throw Failure(kOutputError, errno == EPIPE ? ""
                                               : fmt::format("cannot write to standard output: {}",
                                                             std::generic_category().message(errno)));
}

} // namespace

void print(std::string_view text)
{
    // In one piece, so that lines of several threads or programs do not mix.
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
        failOnOutput();
}

void note(std::string_view text)
{
    const std::string line = fmt::format("{}\n", text);
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr); // which is not everywhere unbuffered when it is a file
}

void finishOutput()
{
    if (std::fflush(stdout) != 0)
        failOnOutput();
}

} // namespace penctl
