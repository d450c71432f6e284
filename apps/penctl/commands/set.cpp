#include "commands/commands.h"

#include <memory>

#include <fmt/format.h>

#include "commands/options.h"
#include "exit_code.h"
#include "failure.h"
#include "pen/pens.h"
#include "pen/result.h"
#include "pen/settings.h"
#include "ui/output.h"
#include "ui/printable.h"

namespace penctl {

namespace {

struct SetOptions {
    PenChoice choice;
    std::string name;
    std::string value;
};

void set(const SetOptions &options)
{
    const Setting &setting = findSetting(options.name);
    if (!setting.set)
        throw Failure(kUsageError, fmt::format("{} can only be read", setting.name));
    zelpp::Pen pen = openPen(options.choice);
    check(setting.set(pen, options.value), fmt::format("cannot set {}", setting.name));
    const Reading now = setting.get(pen);
    print(fmt::format("{} of pen {}: {}\n", setting.name, serialOf(pen), readingText(now)));
}

} // namespace

void addSet(CLI::App &program)
{
    auto options = std::make_shared<SetOptions>();
    CLI::App &command = addCommand(program, "set", "Change a setting of a pen", [options] { set(*options); });
    addPenBeforeOthers(command, options->choice);
    addText(command, "SETTING", options->name, "", "The setting's name", Need::Required);
    addText(command, "VALUE", options->value, "", "Its new value", Need::Required);
    std::string values = "Settings and their values:\n";
    for (const Setting &setting : allSettings())
        if (setting.set)
            values += fmt::format("  {:<15} {}\n", setting.name, setting.values);
    addFooter(command, values);
}

} // namespace penctl
