#include "commands/commands.h"

#include <fmt/format.h>

#include "commands/options.h"
#include "commands/pen_json.h"
#include "files/atomic_file.h"
#include "host/host_memory.h"
#include "host/pen_session.h"
#include "host/result.h"
#include "ui/confirm.h"
#include "ui/json.h"
#include "ui/output.h"
#include "ui/printable.h"
#include "ui/units.h"

namespace penctl {

namespace {

struct EncryptedOptions {
    PenChoice choice;
    uint64_t argument = 0;
    std::string output;
    bool yes = false;
    bool json = false;
};

using SharedEncryptedOptions = std::shared_ptr<EncryptedOptions>;

void showEncrypted(const EncryptedOptions &options)
{
    const PenSession pen(options.choice);
    uint8_t present = 0;
    check(zelHasEncryptedData(pen.handle(), &present), "cannot ask for encrypted data");
    if (!options.json)
        return print(fmt::format("encrypted data: {}\n", present ? "yes" : "no"));
    Json json = penJson(pen.identity());
    json["encryptedData"] = present != 0;
    printJson(json);
}

void fetchEncrypted(const EncryptedOptions &options)
{
    AtomicFile file(options.output);
    const PenSession pen(options.choice);
    LibraryBytes data;
    check(zelGetEncryptedData(pen.handle(), options.argument, data.out(), data.length()),
          "cannot fetch the encrypted data", "the pen holds none");
    file.write(data.bytes());
    file.publish();
    print(fmt::format("wrote {}: {}, from pen {}\n", printable(options.output),
                      counted(data.bytes().size(), "byte", "bytes"), printable(pen.identity().serial)));
}

void clearEncrypted(const EncryptedOptions &options)
{
    const PenSession pen(options.choice);
    const std::string serial = printable(pen.identity().serial);
    requireConsent(options.yes, fmt::format("Remove the encrypted data from pen {}?", serial));
    check(zelClearEncryptedData(pen.handle()), "cannot remove the encrypted data", "the pen refused");
    print(fmt::format("removed the encrypted data from pen {}\n", serial));
}

void addShowEncrypted(CLI::App &encrypted, const SharedEncryptedOptions &options)
{
    CLI::App *command = encrypted.add_subcommand("show", "Tell whether a pen holds encrypted data");
    addPen(*command, options->choice);
    addJson(*command, options->json);
    command->callback([options] { showEncrypted(*options); });
}

void addFetchEncrypted(CLI::App &encrypted, const SharedEncryptedOptions &options)
{
    CLI::App *command = encrypted.add_subcommand("fetch", "Write a pen's encrypted data to a file");
    addPen(*command, options->choice);
    command->add_option("-o,--output", options->output, "The file to write")->type_name("FILE")->required();
    command->add_option("--argument", options->argument, "A number that is handed on with the request")
        ->type_name("NUMBER");
    command->callback([options] { fetchEncrypted(*options); });
}

void addClearEncrypted(CLI::App &encrypted, const SharedEncryptedOptions &options)
{
    CLI::App *command = encrypted.add_subcommand("clear", "Remove the encrypted data");
    addPen(*command, options->choice);
    addYes(*command, options->yes);
    command->callback([options] { clearEncrypted(*options); });
}

} // namespace

void addEncrypted(CLI::App &program)
{
    CLI::App *encrypted = program.add_subcommand("encrypted", "A pen's encrypted data");
    encrypted->require_subcommand(1);
    const auto options = std::make_shared<EncryptedOptions>();
    addShowEncrypted(*encrypted, options);
    addFetchEncrypted(*encrypted, options);
    addClearEncrypted(*encrypted, options);
}

} // namespace penctl
