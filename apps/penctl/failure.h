#pragma once

#include <stdexcept>
#include <string>

namespace penctl {

/** Ends the command: main() prints the text on standard error and leaves with the code. Codes 0 to 11 are the
 *  library's own results; the others are listed in exit_code.h. */
class Failure : public std::runtime_error
{
public:
    Failure(int exitCode, const std::string &text) : std::runtime_error(text), m_exitCode(exitCode) {}

    int exitCode() const { return m_exitCode; }

private:
    int m_exitCode;
};

} // namespace penctl
