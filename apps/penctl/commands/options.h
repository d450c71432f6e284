#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "pen/pens.h"

namespace CLI {
class App;
}

namespace penctl {

/** Functions by which a command declares its arguments. They hide CLI11, whose templates take longer to
 * compile than all other code here. The variables that are filled in must live as long as the command: each
 * command keeps them in a structure that it shares with the function it runs. */

enum class Need { Optional, Required };

/** Adds a command. `run` is called after all arguments were read, and raises Failure when it does not
 * succeed. */
CLI::App &addCommand(CLI::App &parent, const char *name, const char *help, std::function<void()> run);

/** Adds a command that has commands of its own, one of which must be given. */
CLI::App &addFamily(CLI::App &program, const char *name, const char *help);

/** Sets the text at the end of the help of a command. */
void addFooter(CLI::App &command, const std::string &text);

/** The parts of a command line; a name without dashes is that of a positional argument.
 *  type  what stands for the value in the help; empty for a positional argument, which has its name */
void addFlag(CLI::App &command, const char *name, bool &flag, const char *help);
void addText(CLI::App &command, const char *name, std::string &text, const char *type, const char *help,
             Need need);
void addText(CLI::App &command, const char *name, std::optional<std::string> &text, const char *type,
             const char *help);
void addTexts(CLI::App &command, const char *name, std::vector<std::string> &texts, const char *help,
              Need need);

/** Takes exactly `count` texts. */
void addTexts(CLI::App &command, const char *name, std::vector<std::string> &texts, std::size_t count,
              const char *help);

void addNumber(CLI::App &command, const char *name, uint64_t &number, const char *help);

/** --page, page addresses as `pages` lists them */
void addPageAddresses(CLI::App &command, std::vector<std::string> &addresses, const char *help);

/** Requires at least one of these options, and at most `most`. */
void requireOneOf(CLI::App &command, const std::vector<const char *> &names, std::size_t most);

/** Options that several commands share, so that they have the same names and explanations everywhere. */

/** --wait and --settle */
void addWaiting(CLI::App &command, PenChoice &choice);

/** [PEN], --wait and --settle */
void addPen(CLI::App &command, PenChoice &choice);

/** [PEN] before other arguments, --wait and --settle. A first argument that does not look like a serial is
 * not the pen but the first of the others. */
void addPenBeforeOthers(CLI::App &command, PenChoice &choice);

/** --json */
void addJson(CLI::App &command, bool &json);

/** -y, --yes */
void addYes(CLI::App &command, bool &yes);

/** --password-file */
void addPasswordFile(CLI::App &command, std::string &file);

} // namespace penctl
