#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace penctl {

/** The facts about the terminal that each platform has its own way to tell. */

enum class Stream { Input, Output, Error };

/** The program's arguments as UTF-8, the program's own name first. */
std::vector<std::string> programArguments(int argc, char **argv);

/** Makes the console understand UTF-8 and the usual escape sequences, where that is not a matter of course.
 */
void prepareConsole();

bool isTerminal(Stream stream);

/** Columns of the terminal behind the stream; 80 where there is none or it does not tell. */
std::size_t terminalWidth(Stream stream);

/** Whether what is written to the stream may hold block characters and the like. */
bool showsUnicode(Stream stream);

/** Shows the prompt on the terminal and reads a line from it without showing what is typed. Neither standard
 * input nor standard output takes part. Nothing when there is no terminal or the input ended. */
std::optional<std::string> readHiddenLine(const std::string &prompt);

/** Switches standard input and output to bytes as they are, for data. */
void makeStandardInputBinary();

} // namespace penctl
