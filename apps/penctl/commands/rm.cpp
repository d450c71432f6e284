#include "commands/commands.h"

#include <fmt/format.h>

#include "commands/options.h"
#include "host/lock_state.h"
#include "host/pen_session.h"
#include "ui/confirm.h"
#include "ui/output.h"
#include "ui/printable.h"
#include "ui/units.h"

namespace penctl {

namespace {

struct RmOptions {
    PenChoice choice;
    std::vector<std::string> addresses;
    bool all = false;
    bool yes = false;
};

void removePages(PenHandle *pen, const std::vector<std::string> &addresses)
{
    for (const std::string &address : addresses)
        checkPageRequest(pen, zelRemovePage(pen, address.c_str()),
                         fmt::format("cannot remove page {}", printable(address)));
}

void rm(const RmOptions &options)
{
    const PenSession pen(options.choice);
    const std::string serial = printable(pen.identity().serial);
    if (options.all) {
        requireConsent(options.yes, fmt::format("Remove all strokes from pen {}?", serial));
        checkPageRequest(pen.handle(), zelRemoveAllStrokes(pen.handle()), "cannot remove the strokes");
        return print(fmt::format("removed all strokes from pen {}\n", serial));
    }
    removePages(pen.handle(), options.addresses);
    print(
        fmt::format("removed {} from pen {}\n", counted(options.addresses.size(), "page", "pages"), serial));
}

} // namespace

void addRm(CLI::App &program)
{
    CLI::App *command = program.add_subcommand("rm", "Remove pages from a pen");
    auto options = std::make_shared<RmOptions>();
    addPen(*command, options->choice);
    CLI::Option_group *what = command->add_option_group("what");
    what->add_option("--page", options->addresses, "A page to remove, as `pages` lists it")
        ->type_name("ADDRESS")
        ->expected(1, -1)
        ->take_all();
    what->add_flag("--all", options->all, "Remove all strokes");
    what->require_option(1);
    command->add_flag("-y,--yes", options->yes, "Do not ask before --all");
    command->callback([options] { rm(*options); });
}

} // namespace penctl
