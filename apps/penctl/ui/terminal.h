#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace penctl {

/** The terminal. What each platform does in its own way stands in terminal_posix.cpp and
 * terminal_windows.cpp.
 */

/** The numbers are those of the descriptors. */
enum class Stream { Input = 0, Output = 1, Error = 2 };

/** Makes standard input, output and error safe to use, and lets a Windows console understand UTF-8 and the
 * usual escape sequences. Call before any file is opened. */
void prepareConsole();

/** Leaves the console as prepareConsole() found it. Any thread may call it. */
void restoreConsole();

bool isTerminal(Stream stream);

/** Whether the stream may be given colours and cursor movements: a terminal that is not "dumb". */
bool drawsOn(Stream stream);

/** Whether texts on the stream may be coloured: as above, and NO_COLOR is not set. */
bool coloursOn(Stream stream);

/** Columns of the terminal behind the stream; 80 where there is none or it does not tell. */
std::size_t terminalWidth(Stream stream);

/** Whether what is written to the stream may hold block characters and the like. */
bool showsUnicode(Stream stream);

enum class Echo { On, Off };

/** Shows the prompt on the terminal and reads a line from it, with or without showing what is typed. Neither
 * standard input nor standard output takes part. Nothing when there is no terminal or the input ended. */
std::optional<std::string> askLine(const std::string &prompt, Echo echo);

/** Asks on the terminal unless `agreed`. Raises Failure when the answer is not yes (77), or without a
 * terminal to ask on (64), which names --yes. */
void requireConsent(bool agreed, const std::string &question);

/** Reads standard input as bytes, without translating line ends. */
void makeStandardInputBinary();

/** What askLine() needs of the platform: the terminal itself, which stays open also where the standard
 * streams are redirected. One object at a time. */
class PromptTerminal
{
public:
    PromptTerminal();
    ~PromptTerminal();
    PromptTerminal(const PromptTerminal &) = delete;
    PromptTerminal &operator=(const PromptTerminal &) = delete;

    bool isOpen() const { return m_input != -1 && m_output != -1; }

    /** Switches the echo off; whether that worked. While the program is stopped (Ctrl-Z) the echo is on. */
    bool hideTyping() const;

    /** Switches the echo back on if it was switched off. Any thread may call it. */
    void showTyping() const;

    /** Any thread may call these, also while another one reads. */
    void write(std::string_view text) const;
    void endLine() const;

    /** A line without its end; nothing at the end of the input. */
    std::optional<std::string> readLine() const;

private:
    intptr_t m_input;
    intptr_t m_output;
};

} // namespace penctl
