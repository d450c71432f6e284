#pragma once

namespace penctl {

/** The exit codes that are no result of the library. They lie outside its range (0 to 11) and are those that
 *  Unix programs use for the same cases, so that a script can tell "the pen is locked" (2) from a mistyped
 *  option. */
inline constexpr int kUsageError = 64;
inline constexpr int kDamagedFile = 65;
inline constexpr int kNoInput = 66;
inline constexpr int kNoPen = 69;
inline constexpr int kInternalError = 70;
inline constexpr int kOutputError = 74;
inline constexpr int kPenTaken = 75;
inline constexpr int kRefused = 77;
inline constexpr int kInterrupted = 130;

} // namespace penctl
