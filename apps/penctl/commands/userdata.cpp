#include "commands/command.h"

namespace penctl {

namespace {

/** A text without a value stays as it is in the pen. */
struct UserDataOptions {
    PenChoice choice;
    std::optional<std::string> a;
    std::optional<std::string> b;
    std::optional<std::string> c;
};

zelpp::UserData readUserData(const zelpp::Pen &pen)
{
    return check(pen.tryUserData(), "cannot read the user data");
}

void showUserData(const Question &question)
{
    const zelpp::Pen pen = openPen(question.choice);
    const zelpp::UserData data = readUserData(pen);
    if (question.json)
        return printJson(penJson(pen.info(), {{"a", data.a}, {"b", data.b}, {"c", data.c}}));
    print(fmt::format("A: {}\nB: {}\nC: {}\n", printable(data.a), printable(data.b), printable(data.c)));
}

/** The protocol sends the length of a text, with its final zero, as 16 bits. */
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
    zelpp::Pen pen = openPen(options.choice);
    const bool complete = options.a && options.b && options.c;
    const zelpp::UserData before = complete ? zelpp::UserData() : readUserData(pen);
    check(pen.trySetUserData(
              {options.a.value_or(before.a), options.b.value_or(before.b), options.c.value_or(before.c)}),
          "cannot set the user data");
    print(fmt::format("set the user data of pen {}\n", serialOf(pen)));
}

} // namespace

void addUserData(CLI::App &program)
{
    CLI::App &userData = addFamily(program, "userdata", "The owner's data in a pen");
    addQuestion(userData, "show", "Show the three texts", showUserData);
    auto [set, options] =
        addCommand<UserDataOptions>(userData, "set", "Change one or more of the texts", setUserData);
    addPen(set, options.choice);
    addText(set, "--a", options.a, "TEXT", "Text A, the owner's name");
    addText(set, "--b", options.b, "TEXT", "Text B, the owner's e-mail address");
    addText(set, "--c", options.c, "TEXT", "Text C, the owner's telephone number");
    requireOneOf(set, {"--a", "--b", "--c"}, 3);
}

} // namespace penctl
