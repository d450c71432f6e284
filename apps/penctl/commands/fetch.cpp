#include "commands/commands.h"

#include <memory>

#include <fmt/format.h>

#include "commands/options.h"
#include "commands/pen_json.h"
#include "files/atomic_file.h"
#include "host/page_list.h"
#include "host/page_retrieval.h"
#include "host/pen_session.h"
#include "host/result.h"
#include "ui/json.h"
#include "ui/output.h"
#include "ui/printable.h"
#include "ui/progress_display.h"
#include "ui/units.h"

namespace penctl {

namespace {

struct FetchOptions {
    PenChoice choice;
    std::vector<std::string> addresses;
    std::string output;
    bool json = false;
};

struct Fetched {
    LibraryBytes data;
    uint32_t code = ZEL_ERR_UNEXPECTED;
    uint32_t pages = 0;
};

std::string addressList(const std::vector<std::string> &addresses)
{
    std::string list;
    for (const std::string &address : addresses)
        list += address + ";";
    return list;
}

/** The bar shows how many pages there are, which the retrieval itself does not tell. */
uint64_t pagesToCome(const FetchOptions &options, PenHandle *pen)
{
    PageListing listing;
    if (!options.addresses.empty())
        return options.addresses.size();
    if (!ProgressDisplay::isDrawn() || readPageList(pen, listing) != ZEL_OK)
        return 0;
    return listing.addresses.size();
}

void retrieve(const FetchOptions &options, PenHandle *pen, ProgressDisplay &display, Fetched &fetched)
{
    const auto onProgress = [&](uint32_t bytes, uint32_t total, uint32_t pages) {
        fetched.pages = pages;
        display.update(bytes, total, pages);
    };
    fetched.code = retrievePages(pen, addressList(options.addresses), onProgress, fetched.data);
}

void printResult(const FetchOptions &options, const PenIdentity &pen, const Fetched &fetched)
{
    const std::size_t bytes = fetched.data.bytes().size();
    if (!options.json)
        return print(fmt::format("wrote {}: {}, {}, from pen {}\n", printable(options.output),
                                 counted(bytes, "byte", "bytes"), counted(fetched.pages, "page", "pages"),
                                 printable(pen.serial)));
    Json json = penJson(pen);
    json["file"] = options.output;
    json["bytes"] = bytes;
    json["pages"] = fetched.pages;
    printJson(json);
}

void fetch(const FetchOptions &options)
{
    AtomicFile file(options.output);
    const PenSession pen(options.choice);
    ProgressDisplay display(printable(pen.identity().serial), "pages", pagesToCome(options, pen.handle()));
    Fetched fetched;
    retrieve(options, pen.handle(), display, fetched);
    display.stop();
    check(fetched.code, "cannot fetch the pages",
          options.addresses.empty()
              ? "the pen broke the retrieval off"
              : "the pen does not hold exactly the pages asked for, or broke the retrieval off");
    file.write(fetched.data.bytes());
    file.publish();
    printResult(options, pen.identity(), fetched);
}

} // namespace

void addFetch(CLI::App &program)
{
    auto options = std::make_shared<FetchOptions>();
    CLI::App &command =
        addCommand(program, "fetch", "Write a pen's pages to a file", [options] { fetch(*options); });
    addPen(command, options->choice);
    addPageAddresses(command, options->addresses, "A page to fetch, as `pages` lists it; default: all");
    addText(command, "-o,--output", options->output, "FILE", "The file to write", Need::Required);
    addJson(command, options->json);
}

} // namespace penctl
