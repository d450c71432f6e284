#include "commands/commands.h"

#include <memory>

#include <fmt/format.h>

#include "commands/options.h"
#include "pen/pens.h"
#include "pen/result.h"
#include "pen/settings.h"
#include "ui/json.h"
#include "ui/output.h"
#include "ui/style.h"
#include "ui/table.h"

namespace penctl {

namespace {

struct GetOptions {
    PenChoice choice;
    std::vector<std::string> names;
    bool json = false;
};

void getOne(const zelpp::Pen &pen, const Setting &setting)
{
    const Reading reading = setting.get(pen);
    requireAnswer(reading, fmt::format("cannot read {}", setting.name));
    print(reading.text + "\n");
}

/** Settings that this pen lacks are no failure as long as nobody asked for them by name. */
void checkAll(const std::vector<std::pair<const Setting *, Reading>> &readings, bool named)
{
    for (const auto &[setting, reading] : readings) {
        if (named || reading.code != ZEL_ERR_NOT_SUPPORTED)
            requireAnswer(reading, fmt::format("cannot read {}", setting->name));
    }
}

std::vector<const Setting *> chosenSettings(const GetOptions &options)
{
    std::vector<const Setting *> settings;
    for (const std::string &name : options.names)
        settings.push_back(&findSetting(name));
    if (settings.empty())
        for (const Setting &setting : allSettings())
            settings.push_back(&setting);
    return settings;
}

void get(const GetOptions &options)
{
    const std::vector<const Setting *> settings = chosenSettings(options);
    zelpp::Pen pen = openPen(options.choice);
    if (settings.size() == 1 && !options.json)
        return getOne(pen, *settings.front());
    std::vector<std::pair<const Setting *, Reading>> readings;
    Table table({{"SETTING"}, {"VALUE"}});
    Json json = penJson(pen.info());
    for (const Setting *setting : settings) {
        const Reading &reading = readings.emplace_back(setting, setting->get(pen)).second;
        table.addRow({setting->name, readingText(reading)});
        json["settings"][setting->name] = reading.code == ZEL_OK ? reading.json : Json(nullptr);
    }
    if (options.json)
        printJson(json);
    else
        print(table.text(coloursOn(Stream::Output)));
    checkAll(readings, !options.names.empty());
}

} // namespace

void addGet(CLI::App &program)
{
    auto options = std::make_shared<GetOptions>();
    CLI::App &command = addCommand(program, "get", "Read settings of a pen", [options] { get(*options); });
    addPenBeforeOthers(command, options->choice);
    addTexts(command, "SETTING", options->names, "The settings to read; default: all", Need::Optional);
    addJson(command, options->json);
    std::string names = "Settings:\n";
    for (const Setting &setting : allSettings())
        names += fmt::format("  {:<15} {}\n", setting.name, setting.explanation);
    addFooter(command, names);
}

} // namespace penctl
