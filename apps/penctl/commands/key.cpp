#include "commands/commands.h"

#include <fmt/format.h>

#include "commands/options.h"
#include "commands/pen_json.h"
#include "files/input_file.h"
#include "host/pen_session.h"
#include "host/result.h"
#include "ui/confirm.h"
#include "ui/json.h"
#include "ui/output.h"
#include "ui/printable.h"

namespace penctl {

namespace {

constexpr std::size_t kParts = 8;
constexpr std::size_t kLongestPart = 1024 * 1024;

struct KeyOptions {
    PenChoice choice;
    uint16_t number = 0;
    std::vector<std::string> files;
    bool yes = false;
    bool json = false;
};

using SharedKeyOptions = std::shared_ptr<KeyOptions>;

/** One of the key's byte arrays, in the two arguments that the library takes it in. */
struct Part {
    explicit Part(const std::string &file) : bytes(readWholeFile(file, kLongestPart)) {}

    const uint8_t *data() const { return bytes.data(); }
    uint32_t length() const { return static_cast<uint32_t>(bytes.size()); }

    std::vector<uint8_t> bytes;
};

void showKey(const KeyOptions &options)
{
    const PenSession pen(options.choice);
    uint8_t present = 0;
    check(zelHasSigningKey(pen.handle(), &present), "cannot ask for the signing key");
    if (!options.json)
        return print(fmt::format("signing key: {}\n", present ? "yes" : "no"));
    Json json = penJson(pen.identity());
    json["signingKey"] = present != 0;
    printJson(json);
}

void installKey(const KeyOptions &options)
{
    std::vector<Part> part(options.files.begin(), options.files.end());
    const PenSession pen(options.choice);
    check(zelInstallSigningKey(pen.handle(), options.number, part[0].data(), part[0].length(), part[1].data(),
                               part[1].length(), part[2].data(), part[2].length(), part[3].data(),
                               part[3].length(), part[4].data(), part[4].length(), part[5].data(),
                               part[5].length(), part[6].data(), part[6].length(), part[7].data(),
                               part[7].length()),
          "cannot install the signing key");
    print(fmt::format("installed the signing key in pen {}\n", printable(pen.identity().serial)));
}

void clearKey(const KeyOptions &options)
{
    const PenSession pen(options.choice);
    const std::string serial = printable(pen.identity().serial);
    requireConsent(options.yes, fmt::format("Remove the signing key from pen {}?", serial));
    check(zelClearSigningKey(pen.handle()), "cannot remove the signing key");
    print(fmt::format("removed the signing key from pen {}\n", serial));
}

void addShowKey(CLI::App &key, const SharedKeyOptions &options)
{
    CLI::App *command = key.add_subcommand("show", "Tell whether a pen holds a signing key");
    addPen(*command, options->choice);
    addJson(*command, options->json);
    command->callback([options] { showKey(*options); });
}

void addInstallKey(CLI::App &key, const SharedKeyOptions &options)
{
    CLI::App *command = key.add_subcommand("install", "Install a signing key");
    addPenBeforeOthers(*command, options->choice);
    command->add_option("NUMBER", options->number, "The key's number")->type_name("")->required();
    command->add_option("FILE", options->files, "The eight parts of the key")
        ->type_name("")
        ->required()
        ->expected(kParts);
    command->callback([options] { installKey(*options); });
}

void addClearKey(CLI::App &key, const SharedKeyOptions &options)
{
    CLI::App *command = key.add_subcommand("clear", "Remove the signing key");
    addPen(*command, options->choice);
    addYes(*command, options->yes);
    command->callback([options] { clearKey(*options); });
}

} // namespace

void addKey(CLI::App &program)
{
    CLI::App *key = program.add_subcommand("key", "A pen's signing key");
    key->require_subcommand(1);
    const auto options = std::make_shared<KeyOptions>();
    addShowKey(*key, options);
    addInstallKey(*key, options);
    addClearKey(*key, options);
}

} // namespace penctl
