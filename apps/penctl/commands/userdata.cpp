#include "commands/commands.h"

#include <fmt/format.h>

#include "commands/options.h"
#include "commands/pen_json.h"
#include "host/host_memory.h"
#include "host/pen_session.h"
#include "host/result.h"
#include "ui/json.h"
#include "ui/output.h"
#include "ui/printable.h"

namespace penctl {

namespace {

/** Texts that are not given stay as they are. */
struct UserDataOptions {
    PenChoice choice;
    std::optional<std::string> a;
    std::optional<std::string> b;
    std::optional<std::string> c;
    bool json = false;
};

using SharedUserDataOptions = std::shared_ptr<UserDataOptions>;

struct UserData {
    std::string a;
    std::string b;
    std::string c;
};

UserData readUserData(PenHandle *pen)
{
    LibraryText a;
    LibraryText b;
    LibraryText c;
    check(zelGetUserData(pen, a.out(), b.out(), c.out()), "cannot read the user data");
    return {a.str(), b.str(), c.str()};
}

void showUserData(const UserDataOptions &options)
{
    const PenSession pen(options.choice);
    const UserData data = readUserData(pen.handle());
    if (!options.json)
        return print(
            fmt::format("A: {}\nB: {}\nC: {}\n", printable(data.a), printable(data.b), printable(data.c)));
    Json json = penJson(pen.identity());
    json["a"] = data.a;
    json["b"] = data.b;
    json["c"] = data.c;
    printJson(json);
}

void setUserData(const UserDataOptions &options)
{
    const PenSession pen(options.choice);
    const bool complete = options.a && options.b && options.c;
    const UserData before = complete ? UserData() : readUserData(pen.handle());
    check(zelSetUserData(pen.handle(), options.a.value_or(before.a).c_str(),
                         options.b.value_or(before.b).c_str(), options.c.value_or(before.c).c_str()),
          "cannot set the user data");
    print(fmt::format("set the user data of pen {}\n", printable(pen.identity().serial)));
}

void addShowUserData(CLI::App &userData, const SharedUserDataOptions &options)
{
    CLI::App *command = userData.add_subcommand("show", "Show the three texts");
    addPen(*command, options->choice);
    addJson(*command, options->json);
    command->callback([options] { showUserData(*options); });
}

void addSetUserData(CLI::App &userData, const SharedUserDataOptions &options)
{
    CLI::App *command = userData.add_subcommand("set", "Change one or more of the texts");
    addPen(*command, options->choice);
    CLI::Option_group *texts = command->add_option_group("texts");
    texts->add_option("--a", options->a, "Text A, the owner's name")->type_name("TEXT");
    texts->add_option("--b", options->b, "Text B, the owner's e-mail address")->type_name("TEXT");
    texts->add_option("--c", options->c, "Text C, the owner's telephone number")->type_name("TEXT");
    texts->require_option(1, 3);
    command->callback([options] { setUserData(*options); });
}

} // namespace

void addUserData(CLI::App &program)
{
    CLI::App *userData = program.add_subcommand("userdata", "The owner's data in a pen");
    userData->require_subcommand(1);
    const auto options = std::make_shared<UserDataOptions>();
    addShowUserData(*userData, options);
    addSetUserData(*userData, options);
}

} // namespace penctl
