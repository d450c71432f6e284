#include "commands/command.h"
#include "commands/page_data_view.h"
#include "files/files.h"

namespace penctl {

namespace {

struct ShowOptions {
    std::string file;
    bool json = false;
};

void show(const ShowOptions &options)
{
    const MappedFile file(options.file);
    const zelpp::Result<zelpp::PageData, zelpp::PageDataError> data =
        zelpp::PageData::tryView({file.bytes().data(), file.bytes().size()});
    if (!data)
        throw Failure(kDamagedFile, fmt::format("{} holds no valid page data: {}", printable(options.file),
                                                data.error().detail()));
    if (options.json)
        printJson(pageDataJson(*data));
    else
        print(pageDataText(*data, coloursOn(Stream::Output)));
}

} // namespace

void addShow(CLI::App &program)
{
    auto [command, options] =
        addCommand<ShowOptions>(program, "show", "Show what a file written by `fetch` holds", show);
    addText(command, "FILE", options.file, "", "The file", Need::Required);
    addJson(command, options.json);
}

} // namespace penctl
