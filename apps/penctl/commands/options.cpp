#include "commands/options.h"

namespace penctl {

void addWaiting(CLI::App &command, PenChoice &choice)
{
    command.add_option("--wait", choice.wait, "How long to wait for a pen to be announced, in seconds")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 86400.0))
        ->capture_default_str();
    command
        .add_option("--settle", choice.settle,
                    "The silence after which all pens count as announced, in seconds")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 86400.0))
        ->capture_default_str();
}

void addPen(CLI::App &command, PenChoice &choice)
{
    command.add_option("PEN", choice.serial, "The pen's serial text; not needed when only one is present")
        ->type_name("");
    addWaiting(command, choice);
}

void addJson(CLI::App &command, bool &json)
{
    command.add_flag("--json", json, "Print JSON");
}

} // namespace penctl
