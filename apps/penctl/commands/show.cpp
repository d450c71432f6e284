#include "commands/commands.h"

#include <memory>

#include <fmt/format.h>
#include <zel/page_data.hpp>

#include "commands/options.h"
#include "commands/page_data_view.h"
#include "exit_code.h"
#include "failure.h"
#include "files/mapped_file.h"
#include "ui/json.h"
#include "ui/output.h"
#include "ui/printable.h"
#include "ui/style.h"

namespace penctl {

namespace {

struct ShowOptions {
    std::string file;
    bool json = false;
};

/** An error's text is the operation, what is wrong in brackets, and a sentence on the kind of error. */
std::string reasonIn(const std::string &text)
{
    const std::size_t begin = text.find('(') + 1;
    return text.substr(begin, text.rfind("): ") - begin);
}

void show(const ShowOptions &options)
{
    const MappedFile file(options.file);
    const zelpp::Result<zelpp::PageData, zelpp::PageDataError> data =
        zelpp::PageData::tryView({file.bytes().data(), file.bytes().size()});
    if (!data)
        throw Failure(kDamagedFile, fmt::format("{} holds no valid page data: {}", printable(options.file),
                                                reasonIn(data.error().what())));
    if (options.json)
        printJson(pageDataJson(*data));
    else
        print(pageDataText(*data, coloursOn(Stream::Output)));
}

} // namespace

void addShow(CLI::App &program)
{
    auto options = std::make_shared<ShowOptions>();
    CLI::App &command = addCommand(program, "show", "Show what a file written by `fetch` holds",
                                   [options] { show(*options); });
    addText(command, "FILE", options->file, "", "The file", Need::Required);
    addJson(command, options->json);
}

} // namespace penctl
