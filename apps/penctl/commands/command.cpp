#include "commands/command.h"

#include <cmath>

#include <CLI/CLI.hpp>
#include <zel/page_data.hpp>

namespace penctl {

namespace {

/** A check without a description; the help would print one. */
CLI::Validator silent(std::function<std::string(std::string &)> check)
{
    return CLI::Validator(std::move(check), "");
}

/** Replaces CLI::Range, which accepts "nan". */
std::string durationComplaint(const std::string &text)
{
    double seconds = NAN;
    const bool number = CLI::detail::lexical_cast(text, seconds);
    return number && seconds >= 0 && seconds <= 86400 ? "" : "is no number of seconds from 0 to 86400";
}

CLI::Option *addOption(CLI::App &command, const char *name, std::string &text, const char *type,
                       const char *help)
{
    return command.add_option(name, text, help)->type_name(type);
}

void addDuration(CLI::App &command, const char *name, double &seconds, const char *help)
{
    command.add_option(name, seconds, help)
        ->type_name("SECONDS")
        ->check(silent(durationComplaint))
        ->capture_default_str();
}

CLI::Option *addPenArgument(CLI::App &command, PenChoice &choice)
{
    return addOption(command, "PEN", choice.serial, "",
                     "The pen's serial text; not needed when only one is present");
}

} // namespace

CLI::App &addCommand(CLI::App &parent, const char *name, const char *help, std::function<void()> run)
{
    CLI::App *command = parent.add_subcommand(name, help);
    command->callback(std::move(run));
    return *command;
}

CLI::App &addFamily(CLI::App &program, const char *name, const char *help)
{
    CLI::App *family = program.add_subcommand(name, help);
    family->require_subcommand(1);
    return *family;
}

void addFooter(CLI::App &command, const std::string &text)
{
    command.footer(text);
}

void addFlag(CLI::App &command, const char *name, bool &flag, const char *help)
{
    command.add_flag(name, flag, help);
}

void addText(CLI::App &command, const char *name, std::string &text, const char *type, const char *help,
             Need need)
{
    addOption(command, name, text, type, help)->required(need == Need::Required);
}

void addText(CLI::App &command, const char *name, std::optional<std::string> &text, const char *type,
             const char *help)
{
    command.add_option(name, text, help)->type_name(type);
}

void addTexts(CLI::App &command, const char *name, std::vector<std::string> &texts, const char *help,
              Need need)
{
    command.add_option(name, texts, help)->type_name("")->required(need == Need::Required);
}

void addTexts(CLI::App &command, const char *name, std::vector<std::string> &texts, std::size_t count,
              const char *help)
{
    command.add_option(name, texts, help)->type_name("")->required()->expected(static_cast<int>(count));
}

void addNumber(CLI::App &command, const char *name, uint64_t &number, const char *help)
{
    command.add_option(name, number, help)->type_name("NUMBER")->check(silent([](const std::string &text) {
        return parseNumber(text, UINT64_MAX)
                   ? ""
                   : fmt::format("\"{}\" is no number from 0 to {}", text, UINT64_MAX);
    }));
}

void addPageAddresses(CLI::App &command, std::vector<std::string> &addresses, const char *help)
{
    command.add_option("--page", addresses, help)
        ->type_name("ADDRESS")
        ->expected(1, -1)
        ->take_all()
        ->check(silent([](const std::string &text) {
            return zelpp::parseAddress(text)
                       ? ""
                       : fmt::format("\"{}\" is no page address; a pen is named before --page", text);
        }));
}

void requireOneOf(CLI::App &command, const std::vector<const char *> &names, std::size_t most)
{
    CLI::Option_group *group = command.add_option_group("one of");
    for (const char *name : names)
        group->add_option(command.get_option(name));
    group->require_option(1, most);
}

void addWaiting(CLI::App &command, PenChoice &choice)
{
    addDuration(command, "--wait", choice.wait, "How long to wait for a pen to be announced, in seconds");
    addDuration(command, "--settle", choice.settle,
                "The silence after which all pens count as announced, in seconds");
}

void addPen(CLI::App &command, PenChoice &choice)
{
    addPenArgument(command, choice);
    addWaiting(command, choice);
}

void addPenBeforeOthers(CLI::App &command, PenChoice &choice)
{
    addPenArgument(command, choice)->check(silent([](const std::string &text) {
        return std::string(looksLikeSerial(text) ? "" : "is no serial");
    }));
    command.validate_positionals();
    addWaiting(command, choice);
}

void addJson(CLI::App &command, bool &json)
{
    addFlag(command, "--json", json, "Print JSON");
}

void addYes(CLI::App &command, bool &yes)
{
    addFlag(command, "-y,--yes", yes, "Do not ask before it is done");
}

} // namespace penctl
