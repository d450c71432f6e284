#include "commands/command.h"

#include "doctor/missing_pen.h"
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

zelpp::Pen openPenOrAdvise(const PenChoice &choice)
{
    try {
        return openPen(choice);
    } catch (const Failure &failure) {
        if (failure.exitCode() != kNoPen)
            throw;
        throw Failure(kNoPen, fmt::format("{}\n{}", failure.what(), lookForPen(choice.serial).advice));
    }
}

zelpp::PageData retrieve(const FetchOptions &options, const zelpp::Pen &pen)
{
    ProgressDisplay display(serialOf(pen), "pages");
    const uint64_t pagesInAll = pagesToCome(options, pen);
    Progress last;
    const auto onProgress = [&](const zelpp::FetchProgress &progress) {
        last = {progress.bytesSoFar, progress.bytesTotal, progress.pages, pagesInAll};
        display.update(last);
    };
    zelpp::PageData data =
        options.addresses.empty()
            ? check(pen.tryFetchAll(onProgress), "cannot fetch the pages", "the pen broke the retrieval off")
            : check(pen.tryFetch(options.addresses, onProgress), "cannot fetch the pages",
                    "the pen does not hold all the pages asked for, or broke the retrieval off");
    // The library does not report the pages of the stylo, which come last.
    last.units = last.totalUnits = data.size();
    display.update(last);
    return data;
}

void printResult(const FetchOptions &options, const zelpp::PenInfo &pen, const zelpp::PageData &data)
{
    const std::size_t bytes = data.bytes().size();
    if (!options.json)
        return print(fmt::format("wrote {}: {}, {}, from pen {}\n", printable(options.output),
                                 counted(bytes, "byte", "bytes"), counted(data.size(), "page", "pages"),
                                 printable(pen.serial)));
    Json json = penJson(pen);
    json["file"] = options.output;
    json["bytes"] = bytes;
    json["pages"] = data.size();
    printJson(json);
}

void fetch(const FetchOptions &options)
{
    AtomicFile file(options.output);
    const zelpp::Pen pen = openPenOrAdvise(options.choice);
    const zelpp::PageData data = retrieve(options, pen);
    file.write({data.bytes().data(), data.bytes().size()});
    file.publish();
    printResult(options, pen.info(), data);
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
