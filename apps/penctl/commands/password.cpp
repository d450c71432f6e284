#include "commands/commands.h"

#include <fmt/format.h>

#include "commands/options.h"
#include "host/password_source.h"
#include "host/pen_session.h"
#include "host/result.h"
#include "ui/output.h"
#include "ui/printable.h"

namespace penctl {

namespace {

struct PasswordOptions {
    PenChoice choice;
    std::string passwordFile;
    std::string hint;
};

constexpr Meaning kSetRefused = "the pen refused the current password, or the new one is not 1 to 31 bytes "
                                "long, or the hint is longer than 255";
constexpr Meaning kRemoveRefused = "the pen refused the current password";

void setPassword(const PasswordOptions &options)
{
    const PenSession pen(options.choice);
    const std::string serial = printable(pen.identity().serial);
    PasswordSource passwords(options.passwordFile);
    const auto current =
        passwords.next(fmt::format("Current password of pen {} (empty if it has none)", serial));
    const auto wanted = passwords.nextTwice(fmt::format("New password of pen {}", serial));
    check(zelSetPasswordData(pen.handle(), current->c_str(), wanted->c_str(), options.hint.c_str()),
          "cannot set the password", kSetRefused);
    print(fmt::format("set the password of pen {}\n", serial));
}

void removePassword(const PasswordOptions &options)
{
    const PenSession pen(options.choice);
    const std::string serial = printable(pen.identity().serial);
    PasswordSource passwords(options.passwordFile);
    const auto current = passwords.next(fmt::format("Current password of pen {}", serial));
    check(zelRemovePasswordData(pen.handle(), current->c_str()), "cannot remove the password",
          kRemoveRefused);
    print(fmt::format("removed the password of pen {}\n", serial));
}

CLI::App *addOne(CLI::App &password, const char *name, const char *help,
                 const std::shared_ptr<PasswordOptions> &options)
{
    CLI::App *command = password.add_subcommand(name, help);
    addPen(*command, options->choice);
    addPasswordFile(*command, options->passwordFile);
    return command;
}

} // namespace

void addPassword(CLI::App &program)
{
    CLI::App *password = program.add_subcommand("password", "Set or remove a pen's password");
    password->require_subcommand(1);
    auto options = std::make_shared<PasswordOptions>();
    CLI::App *set = addOne(*password, "set",
                           "Set the password that locks the pen: the current one, then the new one", options);
    set->add_option("--hint", options->hint, "A hint that the pen shows to who forgot it")->type_name("TEXT");
    set->callback([options] { setPassword(*options); });
    addOne(*password, "remove", "Remove the password", options)->callback([options] {
        removePassword(*options);
    });
}

} // namespace penctl
