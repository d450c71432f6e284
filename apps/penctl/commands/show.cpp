#include "commands/commands.h"

#include <filesystem>
#include <fstream>
#include <memory>

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

namespace fs = std::filesystem;

struct ShowOptions {
    std::string file;
    bool json = false;
};

PageTransaction readFile(const std::string &name)
{
    const fs::path path = pathFromUtf8(name);
    std::error_code error;
    // A pipe would be waited for, and tells no size.
    if (fs::exists(path, error) && !fs::is_regular_file(path, error))
        throw Failure(kNoInput, fmt::format("cannot read {}: it is not a regular file", printable(name)));
    const uint64_t size = fs::file_size(path, error);
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
    auto options = std::make_shared<ShowOptions>();
    CLI::App &command = addCommand(program, "show", "Show what a file written by `fetch` holds",
                                   [options] { show(*options); });
    addText(command, "FILE", options->file, "", "The file", Need::Required);
    addJson(command, options->json);
}

} // namespace penctl
