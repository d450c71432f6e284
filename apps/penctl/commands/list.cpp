#include "commands/command.h"

#include "doctor/missing_pen.h"

namespace penctl {

namespace {

struct ListOptions {
    PenChoice choice;
    bool json = false;
};

Json pensJson(const std::vector<zelpp::PenInfo> &pens)
{
    Json list = Json::array();
    for (const zelpp::PenInfo &pen : pens)
        list.push_back(penJson(pen));
    return {{"pens", list}};
}

void printPens(const std::vector<zelpp::PenInfo> &pens)
{
    Table table({{"SERIAL"}, {"PEN ID"}, {"USB ID"}});
    for (const zelpp::PenInfo &pen : pens)
        table.addRow({printable(pen.serial), penIdText(pen.penId), usbText(pen)});
    print(table.text(coloursOn(Stream::Output)));
}

/** An empty list is one that a pen service gave; without a service there is none. */
[[noreturn]] void failWithNone(const ListOptions &options)
{
    const Whereabouts where = lookForPen({});
    if (options.json && where.isServiceThere)
        printJson(pensJson({}));
    throw Failure(kNoPen, fmt::format("no pen found within {} s\n{}", options.choice.wait, where.advice));
}

void list(const ListOptions &options)
{
    const zelpp::Library library = check(zelpp::Library::tryStart(), "cannot start the library");
    const std::vector<zelpp::PenInfo> pens = findPens(library, options.choice);
    if (pens.empty())
        failWithNone(options);
    if (options.json)
        printJson(pensJson(pens));
    else
        printPens(pens);
}

} // namespace

void addList(CLI::App &program)
{
    auto options = std::make_shared<ListOptions>();
    CLI::App &command = addCommand(program, "list", "List the pens present", [options] { list(*options); });
    addWaiting(command, options->choice);
    addJson(command, options->json);
}

} // namespace penctl
