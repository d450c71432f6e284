#include "commands/options.h"

namespace penctl {

namespace {

/** Without the description that the help would show for it. */
CLI::Validator anyDuration()
{
    return CLI::Validator(CLI::Range(0.0, 86400.0)).description("");
}

CLI::Option *addPenArgument(CLI::App &command, PenChoice &choice)
{
    return command
        .add_option("PEN", choice.serial, "The pen's serial text; not needed when only one is present")
        ->type_name("");
}

} // namespace

void addWaiting(CLI::App &command, PenChoice &choice)
{
    command.add_option("--wait", choice.wait, "How long to wait for a pen to be announced, in seconds")
        ->type_name("SECONDS")
        ->check(anyDuration())
        ->capture_default_str();
    command
        .add_option("--settle", choice.settle,
                    "The silence after which all pens count as announced, in seconds")
        ->type_name("SECONDS")
        ->check(anyDuration())
        ->capture_default_str();
}

void addPen(CLI::App &command, PenChoice &choice)
{
    addPenArgument(command, choice);
    addWaiting(command, choice);
}

void addPenBeforeOthers(CLI::App &command, PenChoice &choice)
{
    const CLI::Validator serial(
        [](std::string &text) { return std::string(looksLikeSerial(text) ? "" : "is no serial"); }, "");
    addPenArgument(command, choice)->check(serial);
    command.validate_positionals();
    addWaiting(command, choice);
}

void addJson(CLI::App &command, bool &json)
{
    command.add_flag("--json", json, "Print JSON");
}

void addYes(CLI::App &command, bool &yes)
{
    command.add_flag("-y,--yes", yes, "Do not ask before it is done");
}

void addPasswordFile(CLI::App &command, std::string &file)
{
    command
        .add_option("--password-file", file,
                    "Read passwords from the lines of this file (- for standard input) instead of asking")
        ->type_name("FILE");
}

} // namespace penctl
