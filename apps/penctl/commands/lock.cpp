#include "commands/commands.h"

#include <fmt/format.h>

#include "commands/options.h"
#include "commands/pen_json.h"
#include "host/lock_state.h"
#include "host/pen_session.h"
#include "host/result.h"
#include "ui/json.h"
#include "ui/output.h"
#include "ui/printable.h"

namespace penctl {

namespace {

struct LockOptions {
    PenChoice choice;
    bool json = false;
};

void lock(const LockOptions &options)
{
    const PenSession pen(options.choice);
    const Reading locked = readLocked(pen.handle());
    check(locked.code, "cannot tell whether the pen is locked");
    const Reading hint = readPasswordHint(pen.handle());
    if (!options.json) {
        print(fmt::format("pen {} is {}\n", printable(pen.identity().serial), locked.text));
        if (hint.code == ZEL_OK)
            print(fmt::format("password hint: {}\n", hint.text));
        return;
    }
    Json json = penJson(pen.identity());
    json["locked"] = locked.json;
    json["passwordHint"] = hint.code == ZEL_OK ? hint.json : Json(nullptr);
    printJson(json);
}

} // namespace

void addLock(CLI::App &program)
{
    CLI::App *command = program.add_subcommand("lock", "Tell whether a pen is locked, and its password hint");
    auto options = std::make_shared<LockOptions>();
    addPen(*command, options->choice);
    addJson(*command, options->json);
    command->callback([options] { lock(*options); });
}

} // namespace penctl
