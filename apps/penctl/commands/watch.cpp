#include "commands/commands.h"

#include <chrono>
#include <memory>

#include <fmt/format.h>

#include "commands/options.h"
#include "commands/pen_json.h"
#include "host/library.h"
#include "host/pen_clock.h"
#include "ui/interrupt.h"
#include "ui/json.h"
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

void printEvent(const DiscoveryHandle &record, bool json)
{
    const PenIdentity pen = identityOf(record);
    const char *event = record.kind == ZEL_PEN_ARRIVED ? "arrived" : "departed";
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
    Library library;
    const OnInterrupt done([] { return std::string(); }, 0);
    for (;;)
        if (const std::optional<PenRecord> record = library.events().next(std::chrono::hours(1)))
            printEvent(**record, options.json);
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
