#include "ui/output.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <fmt/format.h>

#include "exit_code.h"
#include "failure.h"

namespace penctl {

void print(std::string_view text)
{
    // In one piece, so that lines of several threads or programs do not mix.
    std::fwrite(text.data(), 1, text.size(), stdout);
}

void note(std::string_view text)
{
    const std::string line = fmt::format("{}\n", text);
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void finishOutput()
{
    if (std::fflush(stdout) != 0 || std::ferror(stdout))
        throw Failure(kOutputError, fmt::format("cannot write to standard output: {}",
                                                std::generic_category().message(errno)));
}

} // namespace penctl
