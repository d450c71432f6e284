#include "commands/commands.h"

#include <memory>

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

Json pensJson(const std::vector<PresentPen> &pens)
{
    Json list = Json::array();
    for (const PresentPen &pen : pens)
        list.push_back(penJson(pen.identity));
    return {{"pens", list}};
}

void printPens(const std::vector<PresentPen> &pens)
{
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
