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

struct UnlockOptions {
    PenChoice choice;
    std::string passwordFile;
};

void unlock(const UnlockOptions &options)
{
    const PenSession pen(options.choice);
    const std::string serial = printable(pen.identity().serial);
    PasswordSource passwords(options.passwordFile);
    const auto password = passwords.next(fmt::format("Password of pen {}", serial));
    check(zelUnlockPen(pen.handle(), password->c_str()), "cannot unlock the pen",
          "the pen refused the password");
    print(fmt::format("unlocked pen {}\n", serial));
}

} // namespace

void addUnlock(CLI::App &program)
{
    CLI::App *command = program.add_subcommand("unlock", "Unlock a pen with its password");
    auto options = std::make_shared<UnlockOptions>();
    addPen(*command, options->choice);
    addPasswordFile(*command, options->passwordFile);
    command->callback([options] { unlock(*options); });
}

} // namespace penctl
