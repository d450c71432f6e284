#include "commands/command.h"

namespace penctl {

namespace {

void pages(const Question &question)
{
    const zelpp::Pen pen = openPen(question.choice);
    const zelpp::PageList listing = check(pen.tryPages(), "cannot list the pages");
    if (question.json)
        return printJson(
            penJson(pen.info(), {{"pages", listing.addresses}, {"totalBytes", listing.totalBytes}}));
    for (const std::string &address : listing.addresses)
        print(printable(address) + "\n");
    note(fmt::format("{}, {}", counted(listing.addresses.size(), "page", "pages"),
                     counted(listing.totalBytes, "byte", "bytes")));
}

} // namespace

void addPages(CLI::App &program)
{
    addQuestion(program, "pages", "List the pages that a pen holds strokes for", pages);
}

} // namespace penctl
