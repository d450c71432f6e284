#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <zel/zel.hpp>

#include "failure.h"
#include "pen/answer.h"
#include "pen/pens.h"
#include "ui/output.h"
#include "ui/table.h"
#include "ui/text.h"

namespace CLI {
class App;
}

/** What the commands are made with. Each source in this folder includes this header, which brings along what
 * most commands use, and holds the whole story of a command, or of a family of commands. */
namespace penctl {

/** Each adds one command, or a family of commands, to the program: options, help, and what the command does.
 */
void addList(CLI::App &program);
void addWatch(CLI::App &program);
void addInfo(CLI::App &program);
void addPages(CLI::App &program);
void addFetch(CLI::App &program);
void addRm(CLI::App &program);
void addShow(CLI::App &program);
void addSettings(CLI::App &program);
void addLock(CLI::App &program);
void addHoldings(CLI::App &program);
void addUserData(CLI::App &program);
void addDfu(CLI::App &program);
void addDoctor(CLI::App &program);
void addExport(CLI::App &program);

/** Reads the setting that `penctl get NAME` reads. */
Reading readSetting(const zelpp::Pen &pen, const char *name);

/** Functions by which a command declares its arguments. They hide CLI11, whose templates take longer to
 * compile than all other code here. The variables that are filled in must live as long as the command. */

enum class Need { Optional, Required };

/** Adds a command. `run` is called after all arguments were read, and raises Failure when it does not
 * succeed. */
CLI::App &addCommand(CLI::App &parent, const char *name, const char *help, std::function<void()> run);

/** The same for a command with options: a structure whose members the command line fills in, and which lives
 * as long as the command.
 *
 *      auto [command, options] = addCommand<RmOptions>(program, "rm", "Remove pages from a pen", rm);
 *      addFlag(command, "--all", options.all, "Remove all strokes"); */
template <class Options, class Run>
std::pair<CLI::App &, Options &> addCommand(CLI::App &parent, const char *name, const char *help, Run run)
{
    const auto options = std::make_shared<Options>();
    return {addCommand(parent, name, help, [options, run] { run(std::as_const(*options)); }), *options};
}

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

/** Requires at least one of these options, and at most `most`. */
void requireOneOf(CLI::App &command, const std::vector<const char *> &names, std::size_t most);

/** Options that several commands share, so that they have the same names and explanations everywhere. */

/** --page, page addresses as `pages` lists them */
void addPageAddresses(CLI::App &command, std::vector<std::string> &addresses, const char *help);

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

/** Options of a command that asks a pen and prints its answers: which pen, and in which form. */
struct Question {
    PenChoice choice;
    bool json = false;
};

/** Adds such a command: [PEN], --wait, --settle, --json. */
template <class Ask>
void addQuestion(CLI::App &parent, const char *name, const char *help, Ask ask)
{
    auto [command, question] = addCommand<Question>(parent, name, help, ask);
    addPen(command, question.choice);
    addJson(command, question.json);
}

} // namespace penctl
