#include "commands/commands.h"

#include <filesystem>
#include <fstream>

#include <fmt/format.h>

#include "commands/options.h"
#include "commands/page_data_view.h"
#include "exit_code.h"
#include "failure.h"
#include "files/atomic_file.h"
#include "pagedata/format_error.h"
#include "pagedata/page_transaction.h"
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

PageTransaction readFile(const std::string &name)
{
    const std::filesystem::path path = pathFromUtf8(name);
    std::error_code error;
    const uint64_t size = std::filesystem::file_size(path, error);
    std::ifstream in(path, std::ios::binary);
    if (error || !in)
        throw Failure(kNoInput, fmt::format("cannot read {}{}{}", printable(name), error ? ": " : "",
                                            error ? error.message() : ""));
    try {
        return readPageTransaction(in, size);
    } catch (const FormatError &damage) {
        throw Failure(kDamagedFile,
                      fmt::format("{} holds no valid page data: {}", printable(name), damage.what()));
    }
}

void show(const ShowOptions &options)
{
    const PageTransaction file = readFile(options.file);
    if (options.json)
        printJson(pageDataJson(file));
    else
        print(pageDataText(file, coloursOn(Stream::Output)));
}

} // namespace

void addShow(CLI::App &program)
{
    CLI::App *command = program.add_subcommand("show", "Show what a file written by `fetch` holds");
    auto options = std::make_shared<ShowOptions>();
    command->add_option("FILE", options->file, "The file")->type_name("")->required();
    addJson(*command, options->json);
    command->callback([options] { show(*options); });
}

} // namespace penctl
