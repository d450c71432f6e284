#include "commands/commands.h"

#include <fmt/format.h>

#include "commands/options.h"
#include "commands/pen_json.h"
#include "host/library.h"
#include "host/pen_finder.h"
#include "ui/json.h"
#include "ui/output.h"
#include "ui/printable.h"
#include "ui/style.h"
#include "ui/table.h"

namespace penctl {

namespace {

struct ListOptions {
    PenChoice choice;
    bool json = false;
};

void printPensJson(const std::vector<PresentPen> &pens)
{
    Json list = Json::array();
    for (const PresentPen &pen : pens)
        list.push_back(penJson(pen.identity));
    printJson({{"pens", list}});
}

void printPens(const std::vector<PresentPen> &pens, const PenChoice &choice)
{
    if (pens.empty())
        return note(fmt::format("no pen found within {} s (is the pen service running?)", choice.wait));
    Table table({{"SERIAL"}, {"PEN ID"}, {"USB ID"}});
    for (const PresentPen &pen : pens)
        table.addRow({printable(pen.identity.serial), penIdText(pen.identity.penId), usbText(pen.identity)});
    print(table.text(coloursOn(Stream::Output)));
}

void list(const ListOptions &options)
{
    Library library;
    const std::vector<PresentPen> pens = findPens(library.events(), options.choice);
    if (options.json)
        printPensJson(pens);
    else
        printPens(pens, options.choice);
}

} // namespace

void addList(CLI::App &program)
{
    CLI::App *command = program.add_subcommand("list", "List the pens present");
    auto options = std::make_shared<ListOptions>();
    addWaiting(*command, options->choice);
    addJson(*command, options->json);
    command->callback([options] { list(*options); });
}

} // namespace penctl
