#include "ui/output.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <fmt/format.h>

#include "failure.h"

namespace penctl {

namespace {

[[noreturn]] void failOnOutput()
{
    // A reader that closed the pipe ("penctl show f | head") has read enough; no complaint.
    throw Failure(kOutputError, errno == EPIPE ? ""
                                               : fmt::format("cannot write to standard output: {}",
                                                             std::generic_category().message(errno)));
}

std::string dumped(const Json &value, int indent)
{
    return value.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace

void print(std::string_view text)
{
    // In one piece, so that lines of several threads or programs do not mix.
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
        failOnOutput();
}

void printJson(const Json &value)
{
    print(dumped(value, 2));
}

void printJsonLine(const Json &value)
{
    print(dumped(value, -1));
    finishOutput();
}

void finishOutput()
{
    if (std::fflush(stdout) != 0)
        failOnOutput();
}

void note(std::string_view text)
{
    const std::string line = fmt::format("{}\n", text);
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr); // some platforms buffer it when it is a file
}

} // namespace penctl
