#include "commands/commands.h"

#include <memory>

#include <fmt/format.h>

#include "commands/options.h"
#include "pen/password_source.h"
#include "pen/pens.h"
#include "pen/reading.h"
#include "pen/result.h"
#include "ui/json.h"
#include "ui/output.h"
#include "ui/printable.h"

namespace penctl {

namespace {

struct LockOptions {
    PenChoice choice;
    std::string passwordFile;
    std::string hint;
    bool json = false;
};

using SharedLockOptions = std::shared_ptr<LockOptions>;

constexpr Meaning kSetRefused = "the pen refused the current password, or the new one is not 1 to 31 bytes "
                                "long, or the hint is longer than 255";
constexpr Meaning kRemoveRefused = "the pen refused the current password";

void lock(const LockOptions &options)
{
    zelpp::Pen pen = openPen(options.choice);
    const Reading locked = readLocked(pen);
    requireAnswer(locked, "cannot tell whether the pen is locked");
    const Reading hint = readPasswordHint(pen);
    if (!options.json) {
        print(fmt::format("pen {} is {}\n", serialOf(pen), locked.text));
        if (hint.code == ZEL_OK)
            print(fmt::format("password hint: {}\n", hint.text));
        return;
    }
    Json json = penJson(pen.info());
    json["locked"] = locked.json;
    json["passwordHint"] = hint.code == ZEL_OK ? hint.json : Json(nullptr);
    printJson(json);
}

void unlock(const LockOptions &options)
{
    PasswordSource passwords(options.passwordFile);
    zelpp::Pen pen = openPen(options.choice);
    const std::string serial = serialOf(pen);
    const auto password = passwords.next(fmt::format("Password of pen {}", serial));
    check(pen.tryUnlock(password->c_str()), "cannot unlock the pen", "the pen refused the password");
    print(fmt::format("unlocked pen {}\n", serial));
}

void setPassword(const LockOptions &options)
{
    PasswordSource passwords(options.passwordFile);
    zelpp::Pen pen = openPen(options.choice);
    const std::string serial = serialOf(pen);
    const auto current =
        passwords.next(fmt::format("Current password of pen {} (empty if it has none)", serial));
    const auto wanted = passwords.nextTwice(fmt::format("New password of pen {}", serial));
    check(pen.trySetPassword(current->c_str(), wanted->c_str(), options.hint), "cannot set the password",
          kSetRefused);
    print(fmt::format("set the password of pen {}\n", serial));
}

void removePassword(const LockOptions &options)
{
    PasswordSource passwords(options.passwordFile);
    zelpp::Pen pen = openPen(options.choice);
    const std::string serial = serialOf(pen);
    const auto current = passwords.next(fmt::format("Current password of pen {}", serial));
    check(pen.tryRemovePassword(current->c_str()), "cannot remove the password", kRemoveRefused);
    print(fmt::format("removed the password of pen {}\n", serial));
}

CLI::App &addOne(CLI::App &parent, const char *name, const char *help, const SharedLockOptions &options,
                 void (*run)(const LockOptions &))
{
    CLI::App &command = addCommand(parent, name, help, [options, run] { run(*options); });
    addPen(command, options->choice);
    return command;
}

} // namespace

void addLock(CLI::App &program)
{
    const auto options = std::make_shared<LockOptions>();
    addJson(addOne(program, "lock", "Tell whether a pen is locked, and its password hint", options, lock),
            options->json);
}

void addUnlock(CLI::App &program)
{
    const auto options = std::make_shared<LockOptions>();
    addPasswordFile(addOne(program, "unlock", "Unlock a pen with its password", options, unlock),
                    options->passwordFile);
}

void addPassword(CLI::App &program)
{
    const auto options = std::make_shared<LockOptions>();
    CLI::App &password = addFamily(program, "password", "Set or remove a pen's password");
    CLI::App &set =
        addOne(password, "set", "Set the password that locks the pen: the current one, then the new one",
               options, setPassword);
    addPasswordFile(set, options->passwordFile);
    addText(set, "--hint", options->hint, "TEXT", "A hint that the pen shows to who forgot it",
            Need::Optional);
    addPasswordFile(addOne(password, "remove", "Remove the password", options, removePassword),
                    options->passwordFile);
}

} // namespace penctl
