#include "commands/command.h"

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

void list(const ListOptions &options)
{
    const zelpp::Library library = check(zelpp::Library::tryStart(), "cannot start the library");
    const std::vector<zelpp::PenInfo> pens = findPens(library, options.choice);
    if (options.json)
        printJson(pensJson(pens));
    if (pens.empty())
        failWithoutPens(options.choice);
    if (!options.json)
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
