#include "commands/command.h"

#include <set>

#include "files/files.h"
#include "ui/progress.h"

namespace penctl {

namespace {

struct FetchOptions {
    PenChoice choice;
    std::vector<std::string> addresses;
    std::string output;
    bool json = false;
};

/** Pages that the retrieval will bring, for the bar: the library only reports bytes in advance. 0 without a
 * bar. */
uint64_t pagesToCome(const FetchOptions &options, const zelpp::Pen &pen)
{
    if (!options.addresses.empty())
        return options.addresses.size();
    if (!ProgressDisplay::isDrawn())
        return 0;
    const zelpp::Result<zelpp::PageList> listing = pen.tryPages();
    return listing ? listing->addresses.size() : 0;
}

struct Fetched {
    zelpp::PageData data;
    std::size_t pages;
};

Fetched retrieve(const FetchOptions &options, const zelpp::Pen &pen)
{
    std::size_t pages = 0;
    ProgressDisplay display(serialOf(pen), "pages");
    const uint64_t pagesInAll = pagesToCome(options, pen);
    const auto onProgress = [&](const zelpp::FetchProgress &progress) {
        pages = progress.pages;
        display.update({progress.bytesSoFar, progress.bytesTotal, progress.pages, pagesInAll});
    };
    if (options.addresses.empty()) {
        zelpp::PageData all =
            check(pen.tryFetchAll(onProgress), "cannot fetch the pages", "the pen broke the retrieval off");
        return {std::move(all), pages};
    }
    // The progress cannot be used: it also counts pages that the library fetches unasked.
    const std::set<std::string> asked(options.addresses.begin(), options.addresses.end());
    return {check(pen.tryFetch(options.addresses, onProgress), "cannot fetch the pages",
                  "the pen does not hold all the pages asked for, or broke the retrieval off"),
            asked.size()};
}

void printResult(const FetchOptions &options, const zelpp::PenInfo &pen, const Fetched &fetched)
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
    const zelpp::Pen pen = openPen(options.choice);
    const Fetched fetched = retrieve(options, pen);
    file.write({fetched.data.bytes().data(), fetched.data.bytes().size()});
    file.publish();
    printResult(options, pen.info(), fetched);
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
