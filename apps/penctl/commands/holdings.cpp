#include "commands/commands.h"

#include <algorithm>
#include <array>
#include <memory>

#include <fmt/format.h>

#include "commands/options.h"
#include "exit_code.h"
#include "failure.h"
#include "files/atomic_file.h"
#include "files/input_file.h"
#include "pen/parse_number.h"
#include "pen/pens.h"
#include "pen/result.h"
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
    zelpp::Result<bool> (zelpp::Pen::*has)() const;
    zelpp::Result<void> (zelpp::Pen::*clear)();
    Meaning clearRefused;
    /** Adds the commands that no other holding has. */
    void (*addOthers)(CLI::App &family, const SharedHoldingOptions &options);
};

using Part = std::vector<uint8_t>;

std::vector<Part> readParts(const HoldingOptions &options)
{
    std::vector<Part> parts;
    for (const std::string &file : options.files)
        parts.push_back(readWholeFile(file, kLongestPart));
    return parts;
}

void showCertificate(const HoldingOptions &options)
{
    const zelpp::Pen pen = openPen(options.choice);
    const bool authenticator =
        check(pen.tryHasCertificateAuthenticator(), "cannot ask for the certificate authenticator");
    const zelpp::Result<zelpp::CertificateInfo> info = pen.tryCertificateInfo();
    // A pen without a certificate has nothing to take apart.
    if (!info && info.error().reason() != zelpp::Errc::unexpected)
        failOn(info.error(), "cannot read the certificate's data");
    if (!options.json)
        return print(
            fmt::format("authenticator: {}\ncertificate: {}\n", authenticator ? "yes" : "no",
                        info ? fmt::format("{}, {}, {}", info->number, info->value1, info->value2) : "none"));
    Json json = penJson(pen.info());
    json["authenticator"] = authenticator;
    json["certificate"] = info ? Json::array({info->number, info->value1, info->value2}) : Json(nullptr);
    printJson(json);
}

void installCertificate(const HoldingOptions &options)
{
    const std::vector<Part> parts = readParts(options);
    zelpp::Pen pen = openPen(options.choice);
    check(pen.tryInstallCertificate(parts[0]), "cannot install the certificate");
    print(fmt::format("installed the certificate in pen {}\n", serialOf(pen)));
}

void installAuthenticator(const HoldingOptions &options)
{
    const std::vector<Part> parts = readParts(options);
    zelpp::Pen pen = openPen(options.choice);
    check(pen.tryInstallCertificateAuthenticator(parts[0], parts[1]),
          "cannot install the certificate authenticator", "the second file must not be empty");
    print(fmt::format("installed the certificate authenticator in pen {}\n", serialOf(pen)));
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
    const std::vector<Part> parts = readParts(options);
    std::array<zelpp::Bytes, kKeyParts> bytes;
    std::copy(parts.begin(), parts.end(), bytes.begin());
    zelpp::Pen pen = openPen(options.choice);
    check(pen.tryInstallSigningKey(static_cast<uint16_t>(*number), bytes), "cannot install the signing key");
    print(fmt::format("installed the signing key in pen {}\n", serialOf(pen)));
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
    zelpp::Pen pen = openPen(options.choice);
    uint8_t *bytes = nullptr;
    uint32_t size = 0;
    // The pen's own operation hands no argument on.
    const uint32_t code = zelGetEncryptedData(pen.handle(), options.argument, &bytes, &size);
    const zelpp::LibraryBytes data(bytes, size);
    if (code != ZEL_OK)
        failOn({static_cast<zelpp::Errc>(code), "zelGetEncryptedData"}, "cannot fetch the encrypted data",
               "the pen holds none");
    file.write({data.data(), data.size()});
    file.publish();
    print(fmt::format("wrote {}: {}, from pen {}\n", printable(options.output),
                      counted(data.size(), "byte", "bytes"), serialOf(pen)));
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
            &zelpp::Pen::tryClearCertificate,
            {},
            addCertificateCommands},
    Holding{"key",
            "A pen's signing key",
            "signing key",
            "Tell whether a pen holds a signing key",
            nullptr,
            "signingKey",
            &zelpp::Pen::tryHasSigningKey,
            &zelpp::Pen::tryClearSigningKey,
            {},
            addKeyCommands},
    Holding{"encrypted", "A pen's encrypted data", "encrypted data",
            "Tell whether a pen holds encrypted data", nullptr, "encryptedData",
            &zelpp::Pen::tryHasEncryptedData, &zelpp::Pen::tryClearEncryptedData, "the pen refused",
            addEncryptedCommands},
};

void show(const Holding &holding, const HoldingOptions &options)
{
    if (holding.show)
        return holding.show(options);
    zelpp::Pen pen = openPen(options.choice);
    const bool present = check((pen.*holding.has)(), fmt::format("cannot ask for the {}", holding.name));
    if (!options.json)
        return print(fmt::format("{}: {}\n", holding.name, present ? "yes" : "no"));
    Json json = penJson(pen.info());
    json[holding.jsonKey] = present;
    printJson(json);
}

void clear(const Holding &holding, const HoldingOptions &options)
{
    zelpp::Pen pen = openPen(options.choice);
    const std::string serial = serialOf(pen);
    requireConsent(options.yes, fmt::format("Remove the {} from pen {}?", holding.name, serial));
    check((pen.*holding.clear)(), fmt::format("cannot remove the {}", holding.name), holding.clearRefused);
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
