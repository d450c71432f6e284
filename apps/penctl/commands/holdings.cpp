#include "commands/commands.h"

#include <array>
#include <memory>

#include <fmt/format.h>

#include "commands/options.h"
#include "commands/pen_json.h"
#include "exit_code.h"
#include "failure.h"
#include "files/atomic_file.h"
#include "files/input_file.h"
#include "host/host_memory.h"
#include "host/parse_number.h"
#include "host/pen_session.h"
#include "host/result.h"
#include "ui/confirm.h"
#include "ui/json.h"
#include "ui/output.h"
#include "ui/printable.h"
#include "ui/units.h"

namespace penctl {

namespace {

constexpr std::size_t kKeyParts = 8;
constexpr std::size_t kLongestPart = 1024 * 1024;

struct HoldingOptions {
    PenChoice choice;
    /** The key's number; a text, because what is no number would be taken for a file. */
    std::string number;
    uint64_t argument = 0;
    std::vector<std::string> files;
    std::string output;
    bool yes = false;
    bool json = false;
};

using SharedHoldingOptions = std::shared_ptr<HoldingOptions>;

/** A thing that a pen holds besides pages: a family of commands that tell of it, bring it and take it away.
 */
struct Holding {
    const char *command;
    const char *help;
    /** As it stands in sentences. */
    const char *name;
    const char *showHelp;
    /** Prints what there is; by a general way when null, which needs the two members that follow. */
    void (*show)(const HoldingOptions &options);
    const char *jsonKey;
    uint32_t (*has)(PenHandle *pen, uint8_t *present);
    uint32_t (*clear)(PenHandle *pen);
    Meaning clearRefused;
    /** Adds the commands that no other holding has. */
    void (*addOthers)(CLI::App &family, const SharedHoldingOptions &options);
};

/** One byte array, in the two arguments that the library takes it in. */
struct Part {
    explicit Part(const std::string &file) : bytes(readWholeFile(file, kLongestPart)) {}

    const uint8_t *data() const { return bytes.data(); }
    uint32_t length() const { return static_cast<uint32_t>(bytes.size()); }

    std::vector<uint8_t> bytes;
};

std::vector<Part> readParts(const HoldingOptions &options)
{
    return {options.files.begin(), options.files.end()};
}

void showCertificate(const HoldingOptions &options)
{
    const PenSession pen(options.choice);
    uint8_t authenticator = 0;
    check(zelHasCertificateAuthenticator(pen.handle(), &authenticator),
          "cannot ask for the certificate authenticator");
    uint16_t number = 0;
    uint64_t value1 = 0;
    uint64_t value2 = 0;
    const uint32_t code = zelGetCertificateInfo(pen.handle(), &number, &value1, &value2);
    // A pen without a certificate has nothing to take apart.
    if (code != ZEL_ERR_UNEXPECTED)
        check(code, "cannot read the certificate's data");
    const bool present = code == ZEL_OK;
    if (!options.json)
        return print(fmt::format("authenticator: {}\ncertificate: {}\n", authenticator ? "yes" : "no",
                                 present ? fmt::format("{}, {}, {}", number, value1, value2) : "none"));
    Json json = penJson(pen.identity());
    json["authenticator"] = authenticator != 0;
    json["certificate"] = present ? Json::array({number, value1, value2}) : Json(nullptr);
    printJson(json);
}

void installCertificate(const HoldingOptions &options)
{
    const std::vector<Part> part = readParts(options);
    const PenSession pen(options.choice);
    check(zelInstallCertificate(pen.handle(), part[0].data(), part[0].length()),
          "cannot install the certificate");
    print(fmt::format("installed the certificate in pen {}\n", printable(pen.identity().serial)));
}

void installAuthenticator(const HoldingOptions &options)
{
    const std::vector<Part> part = readParts(options);
    const PenSession pen(options.choice);
    check(zelInstallCertificateAuthenticator(pen.handle(), part[0].data(), part[0].length(), part[1].data(),
                                             part[1].length()),
          "cannot install the certificate authenticator", "the second file must not be empty");
    print(
        fmt::format("installed the certificate authenticator in pen {}\n", printable(pen.identity().serial)));
}

void addCertificateCommands(CLI::App &family, const SharedHoldingOptions &options)
{
    CLI::App &install =
        addCommand(family, "install", "Install a certificate", [options] { installCertificate(*options); });
    addPenBeforeOthers(install, options->choice);
    addTexts(install, "FILE", options->files, 1, "The certificate");
    CLI::App &authenticator = addCommand(family, "authenticator", "Install the certificate authenticator",
                                         [options] { installAuthenticator(*options); });
    addPenBeforeOthers(authenticator, options->choice);
    addTexts(authenticator, "FILE", options->files, 2, "Its two parts");
}

void installKey(const HoldingOptions &options)
{
    const std::optional<uint64_t> number = parseNumber(options.number, UINT16_MAX);
    if (!number)
        throw Failure(kUsageError,
                      fmt::format("\"{}\" is no number from 0 to {}", printable(options.number), UINT16_MAX));
    const std::vector<Part> part = readParts(options);
    const PenSession pen(options.choice);
    check(zelInstallSigningKey(pen.handle(), static_cast<uint16_t>(*number), part[0].data(), part[0].length(),
                               part[1].data(), part[1].length(), part[2].data(), part[2].length(),
                               part[3].data(), part[3].length(), part[4].data(), part[4].length(),
                               part[5].data(), part[5].length(), part[6].data(), part[6].length(),
                               part[7].data(), part[7].length()),
          "cannot install the signing key");
    print(fmt::format("installed the signing key in pen {}\n", printable(pen.identity().serial)));
}

void addKeyCommands(CLI::App &family, const SharedHoldingOptions &options)
{
    CLI::App &install =
        addCommand(family, "install", "Install a signing key", [options] { installKey(*options); });
    addPenBeforeOthers(install, options->choice);
    addText(install, "NUMBER", options->number, "", "The key's number", Need::Required);
    addTexts(install, "FILE", options->files, kKeyParts, "The eight parts of the key");
}

void fetchEncrypted(const HoldingOptions &options)
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

void addEncryptedCommands(CLI::App &family, const SharedHoldingOptions &options)
{
    CLI::App &fetch = addCommand(family, "fetch", "Write a pen's encrypted data to a file",
                                 [options] { fetchEncrypted(*options); });
    addPen(fetch, options->choice);
    addText(fetch, "-o,--output", options->output, "FILE", "The file to write", Need::Required);
    addNumber(fetch, "--argument", options->argument, "A number that is handed on with the request");
}

constexpr std::array kHoldings = {
    Holding{"cert",
            "A pen's certificate and its authenticator",
            "certificate",
            "Tell what certificate a pen holds",
            showCertificate,
            nullptr,
            nullptr,
            zelClearCertificate,
            {},
            addCertificateCommands},
    Holding{"key",
            "A pen's signing key",
            "signing key",
            "Tell whether a pen holds a signing key",
            nullptr,
            "signingKey",
            zelHasSigningKey,
            zelClearSigningKey,
            {},
            addKeyCommands},
    Holding{"encrypted", "A pen's encrypted data", "encrypted data",
            "Tell whether a pen holds encrypted data", nullptr, "encryptedData", zelHasEncryptedData,
            zelClearEncryptedData, "the pen refused", addEncryptedCommands},
};

void show(const Holding &holding, const HoldingOptions &options)
{
    if (holding.show)
        return holding.show(options);
    const PenSession pen(options.choice);
    uint8_t present = 0;
    check(holding.has(pen.handle(), &present), fmt::format("cannot ask for the {}", holding.name));
    if (!options.json)
        return print(fmt::format("{}: {}\n", holding.name, present ? "yes" : "no"));
    Json json = penJson(pen.identity());
    json[holding.jsonKey] = present != 0;
    printJson(json);
}

void clear(const Holding &holding, const HoldingOptions &options)
{
    const PenSession pen(options.choice);
    const std::string serial = printable(pen.identity().serial);
    requireConsent(options.yes, fmt::format("Remove the {} from pen {}?", holding.name, serial));
    check(holding.clear(pen.handle()), fmt::format("cannot remove the {}", holding.name),
          holding.clearRefused);
    print(fmt::format("removed the {} from pen {}\n", holding.name, serial));
}

void addHolding(CLI::App &program, const Holding &holding)
{
    CLI::App &family = addFamily(program, holding.command, holding.help);
    const auto options = std::make_shared<HoldingOptions>();
    CLI::App &showing =
        addCommand(family, "show", holding.showHelp, [&holding, options] { show(holding, *options); });
    addPen(showing, options->choice);
    addJson(showing, options->json);
    holding.addOthers(family, options);
    CLI::App &clearing = addCommand(family, "clear", fmt::format("Remove the {}", holding.name).c_str(),
                                    [&holding, options] { clear(holding, *options); });
    addPen(clearing, options->choice);
    addYes(clearing, options->yes);
}

} // namespace

void addHoldings(CLI::App &program)
{
    for (const Holding &holding : kHoldings)
        addHolding(program, holding);
}

} // namespace penctl
