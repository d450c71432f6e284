#include "commands/commands.h"

#include <fmt/format.h>

#include "commands/options.h"
#include "commands/pen_json.h"
#include "host/page_list.h"
#include "host/pen_session.h"
#include "host/result.h"
#include "ui/json.h"
#include "ui/output.h"
#include "ui/printable.h"
#include "ui/units.h"

namespace penctl {

namespace {

struct InfoOptions {
    PenChoice choice;
    bool json = false;
};

std::string productName(PenHandle *pen)
{
    LibraryText name;
    const uint32_t code = zelGetPenProductName(pen, name.out());
    // A pen without a name is answered with "invalid argument".
    if (code != ZEL_ERR_INVALID_ARGUMENT)
        check(code, "cannot read the product name");
    return name.str();
}

void info(const InfoOptions &options)
{
    const PenSession pen(options.choice);
    const std::string name = productName(pen.handle());
    PageListing listing;
    check(readPageList(pen.handle(), listing), "cannot list the pages");
    if (options.json) {
        Json json = penJson(pen.identity());
        json["productName"] = name;
        json["pages"] = {{"count", listing.addresses.size()}, {"totalBytes", listing.totalBytes}};
        return printJson(json);
    }
    print(fmt::format("Pen        {}\nPen id     {}\nUSB id     {}\nProduct    {}\nPages      {}\n",
                      printable(pen.identity().serial), penIdText(pen.identity().penId),
                      usbText(pen.identity()), printable(name),
                      counted(listing.addresses.size(), "page", "pages")));
}

} // namespace

void addInfo(CLI::App &program)
{
    CLI::App *command = program.add_subcommand("info", "Show what a pen tells of itself");
    auto options = std::make_shared<InfoOptions>();
    addPen(*command, options->choice);
    addJson(*command, options->json);
    command->callback([options] { info(*options); });
}

} // namespace penctl
