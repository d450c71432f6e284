#include "program.h"

#include <memory>

#include <fmt/format.h>

#include "commands/options.h"
#include "pen/answer.h"
#include "pen/pens.h"
#include "ui/interrupt.h"
#include "ui/output.h"
#include "ui/printable.h"
#include "ui/units.h"

namespace penctl {

namespace {

struct WatchOptions {
    bool json = false;
};

std::string now()
{
    return utcSecondsText(hostMillis());
}

void printEvent(const zelpp::PenEvent &change, bool json)
{
    const zelpp::PenInfo &pen = change.pen;
    const char *event = change.kind == zelpp::PenEvent::Kind::departed ? "departed" : "arrived";
    if (json) {
        Json line = {{"event", event}, {"time", now()}};
        line.update(penJson(pen));
        return printJsonLine(line);
    }
    print(fmt::format("{}  {:8}  {}  {}  {}\n", now(), event, printable(pen.serial), penIdText(pen.penId),
                      usbText(pen)));
    finishOutput();
}

void watch(const WatchOptions &options)
{
    const zelpp::Library library = check(zelpp::Library::tryStart(), "cannot start the library");
    const OnInterrupt done([] { return std::string(); }, 0);
    for (const zelpp::PenEvent &change : library.events())
        printEvent(change, options.json);
}

} // namespace

void addWatch(CLI::App &program)
{
    auto options = std::make_shared<WatchOptions>();
    CLI::App &command = addCommand(program, "watch", "Tell of pens that arrive and depart, until Ctrl-C",
                                   [options] { watch(*options); });
    addFlag(command, "--json", options->json, "Print one JSON object per line");
}

} // namespace penctl
