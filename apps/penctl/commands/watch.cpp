#include "commands/command.h"
#include "ui/interrupt.h"

namespace penctl {

namespace {

struct WatchOptions {
    bool json = false;
};

void printEvent(const zelpp::PenEvent &change, bool json)
{
    const zelpp::PenInfo &pen = change.pen;
    const char *event = change.kind == zelpp::PenEvent::Kind::departed ? "departed" : "arrived";
    const std::string now = utcSecondsText(hostMillis());
    if (json) {
        Json line = {{"event", event}, {"time", now}};
        line.update(penJson(pen));
        return printJsonLine(line);
    }
    print(fmt::format("{}  {:8}  {}  {}  {}\n", now, event, printable(pen.serial), penIdText(pen.penId),
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
    auto [command, options] = addCommand<WatchOptions>(
        program, "watch", "Tell of pens that arrive and depart, until Ctrl-C", watch);
    addFlag(command, "--json", options.json, "Print one JSON object per line");
}

} // namespace penctl
