#include "commands/commands.h"

#include <memory>

#include <fmt/format.h>

#include "commands/options.h"
#include "commands/pen_json.h"
#include "exit_code.h"
#include "failure.h"
#include "host/host_memory.h"
#include "host/pen_session.h"
#include "host/result.h"
#include "ui/json.h"
#include "ui/output.h"
#include "ui/printable.h"
#include "ui/units.h"

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

/** The pen protocol counts a text's bytes, and a zero after them, in 16 bits. */
void requireShort(const std::optional<std::string> &text, const char *name)
{
    constexpr std::size_t kLongest = 65'534;
    if (text && text->size() > kLongest)
        throw Failure(kUsageError, fmt::format("text {} is longer than {} bytes", name, grouped(kLongest)));
}

void setUserData(const UserDataOptions &options)
{
    requireShort(options.a, "A");
    requireShort(options.b, "B");
    requireShort(options.c, "C");
    const PenSession pen(options.choice);
    const bool complete = options.a && options.b && options.c;
    const UserData before = complete ? UserData() : readUserData(pen.handle());
    check(zelSetUserData(pen.handle(), options.a.value_or(before.a).c_str(),
                         options.b.value_or(before.b).c_str(), options.c.value_or(before.c).c_str()),
          "cannot set the user data");
    print(fmt::format("set the user data of pen {}\n", printable(pen.identity().serial)));
}

} // namespace

void addUserData(CLI::App &program)
{
    CLI::App &userData = addFamily(program, "userdata", "The owner's data in a pen");
    const auto options = std::make_shared<UserDataOptions>();
    CLI::App &show =
        addCommand(userData, "show", "Show the three texts", [options] { showUserData(*options); });
    addPen(show, options->choice);
    addJson(show, options->json);
    CLI::App &set =
        addCommand(userData, "set", "Change one or more of the texts", [options] { setUserData(*options); });
    addPen(set, options->choice);
    addText(set, "--a", options->a, "TEXT", "Text A, the owner's name");
    addText(set, "--b", options->b, "TEXT", "Text B, the owner's e-mail address");
    addText(set, "--c", options->c, "TEXT", "Text C, the owner's telephone number");
    requireOneOf(set, {"--a", "--b", "--c"}, 3);
}

} // namespace penctl
