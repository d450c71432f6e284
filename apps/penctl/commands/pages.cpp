#include "program.h"

#include <memory>

#include <fmt/format.h>

#include "commands/options.h"
#include "pen/answer.h"
#include "pen/pens.h"
#include "ui/output.h"
#include "ui/printable.h"
#include "ui/units.h"

namespace penctl {

namespace {

struct PagesOptions {
    PenChoice choice;
    bool json = false;
};

void printListing(const zelpp::PageList &listing)
{
    for (const std::string &address : listing.addresses)
        print(printable(address) + "\n");
    note(fmt::format("{}, {}", counted(listing.addresses.size(), "page", "pages"),
                     counted(listing.totalBytes, "byte", "bytes")));
}

void pages(const PagesOptions &options)
{
    const zelpp::Pen pen = openPen(options.choice);
    const zelpp::PageList listing = check(pen.tryPages(), "cannot list the pages");
    if (!options.json)
        return printListing(listing);
    Json json = penJson(pen.info());
    json["pages"] = listing.addresses;
    json["totalBytes"] = listing.totalBytes;
    printJson(json);
}

} // namespace

void addPages(CLI::App &program)
{
    auto options = std::make_shared<PagesOptions>();
    CLI::App &command = addCommand(program, "pages", "List the pages that a pen holds strokes for",
                                   [options] { pages(*options); });
    addPen(command, options->choice);
    addJson(command, options->json);
}

} // namespace penctl
