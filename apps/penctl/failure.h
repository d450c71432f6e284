#pragma once

#include <stdexcept>
#include <string>

namespace penctl {

/** The exit codes that are not a result of the library. They lie outside its range (0 to 11) and are those
 * that Unix programs use for the same cases, so that a script can tell "the pen is locked" (2) from a
 * mistyped option. */
inline constexpr int kUsageError = 64;
inline constexpr int kDamagedFile = 65;
inline constexpr int kNoInput = 66;
inline constexpr int kNoPen = 69;
inline constexpr int kInternalError = 70;
inline constexpr int kOutputError = 74;
inline constexpr int kPenTaken = 75;
inline constexpr int kRefused = 77;
inline constexpr int kInterrupted = 130;

/** Ends the command: the program prints the text on standard error and exits with the code, which is a result
 * of the library or one of those above. */
class Failure : public std::runtime_error
{
public:
    Failure(int exitCode, const std::string &text) : std::runtime_error(text), m_exitCode(exitCode) {}

    int exitCode() const { return m_exitCode; }

private:
    int m_exitCode;
};

} // namespace penctl
