#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace penctl {

/** What each platform does in its own way with the terminal. */

enum class Stream { Input, Output, Error };

/** Makes standard input, output and error safe to use, and lets a Windows console understand UTF-8 and the
 * usual escape sequences. Call before any file is opened. */
void prepareConsole();

/** Leaves the console as prepareConsole() found it. Any thread may call it. */
void restoreConsole();

bool isTerminal(Stream stream);

/** Columns of the terminal behind the stream; 80 where there is none or it does not tell. */
std::size_t terminalWidth(Stream stream);

/** Whether what is written to the stream may hold block characters and the like. */
bool showsUnicode(Stream stream);

enum class Echo { On, Off };

/** Shows the prompt on the terminal and reads a line from it, with or without showing what is typed. Neither
 * standard input nor standard output takes part. Nothing when there is no terminal or the input ended. */
std::optional<std::string> askLine(const std::string &prompt, Echo echo);

/** Reads standard input as bytes, without translating line ends. */
void makeStandardInputBinary();

} // namespace penctl
