#include "program.h"

#include <algorithm>
#include <array>
#include <memory>

#include <fmt/format.h>

#include "commands/options.h"
#include "failure.h"
#include "files/whole_file.h"
#include "pen/answer.h"
#include "pen/pens.h"
#include "ui/printable.h"
#include "ui/units.h"

/** What a pen holds besides pages: certificate, signing key, encrypted data. Each is a family of commands
 * that tell of it, bring it and take it away; the tables below say what is special about each. */
namespace penctl {

namespace {

constexpr std::size_t kKeyParts = 8;
constexpr std::size_t kLongestPart = 1024 * 1024;

struct HoldingOptions {
    PenChoice choice;
    /** The key's number; a text, because otherwise one that is no number would count as a file. */
    std::string number;
    uint64_t argument = 0;
    std::vector<std::string> files;
    std::string output;
    bool yes = false;
    bool json = false;
};

using SharedHoldingOptions = std::shared_ptr<HoldingOptions>;
using Parts = std::vector<std::vector<uint8_t>>;

/** One thing that `show` tells. */
struct Fact {
    const char *label;
    const char *jsonKey;
    std::string text;
    Json json;
};

struct Holding {
    const char *command;
    const char *help;
    /** As it stands in sentences. */
    const char *name;
    const char *showHelp;
    std::vector<Fact> (*facts)(const zelpp::Pen &pen);
    zelpp::Result<void> (zelpp::Pen::*clear)();
    Meaning clearRefused;
};

/** A command that brings something from files. */
struct Installation {
    /** The family that the command belongs to. */
    const char *family;
    const char *command;
    const char *name;
    std::size_t files;
    const char *filesHelp;
    bool numbered;
    zelpp::Result<void> (*install)(zelpp::Pen &pen, uint16_t number, const Parts &parts);
    Meaning refused;
};

Fact yesOrNo(const char *label, const char *jsonKey, const zelpp::Result<bool> &answer)
{
    const bool present = check(answer, fmt::format("cannot ask for the {}", label));
    return {label, jsonKey, present ? "yes" : "no", present};
}

std::vector<Fact> certificateFacts(const zelpp::Pen &pen)
{
    const bool authenticator =
        check(pen.tryHasCertificateAuthenticator(), "cannot ask for the certificate authenticator");
    const zelpp::Result<zelpp::CertificateInfo> info = pen.tryCertificateInfo();
    // A pen without a certificate has no numbers to tell.
    if (!info && info.error().reason() != zelpp::Errc::unexpected)
        failOn(info.error(), "cannot read the certificate's data");
    return {{"authenticator", "authenticator", authenticator ? "yes" : "no", authenticator},
            {"certificate", "certificate",
             info ? fmt::format("{}, {}, {}", info->number, info->value1, info->value2) : "none",
             info ? Json::array({info->number, info->value1, info->value2}) : Json(nullptr)}};
}

constexpr std::array kHoldings = {
    Holding{"cert",
            "A pen's certificate and its authenticator",
            "certificate",
            "Tell what certificate a pen holds",
            certificateFacts,
            &zelpp::Pen::tryClearCertificate,
            {}},
    Holding{"key",
            "A pen's signing key",
            "signing key",
            "Tell whether a pen holds a signing key",
            [](const zelpp::Pen &pen) {
                return std::vector{yesOrNo("signing key", "signingKey", pen.tryHasSigningKey())};
            },
            &zelpp::Pen::tryClearSigningKey,
            {}},
    Holding{"encrypted", "A pen's encrypted data", "encrypted data",
            "Tell whether a pen holds encrypted data",
            [](const zelpp::Pen &pen) {
                return std::vector{yesOrNo("encrypted data", "encryptedData", pen.tryHasEncryptedData())};
            },
            &zelpp::Pen::tryClearEncryptedData, "the pen refused"},
};

constexpr std::array kInstallations = {
    Installation{
        "cert",
        "install",
        "certificate",
        1,
        "The certificate",
        false,
        [](zelpp::Pen &pen, uint16_t, const Parts &parts) { return pen.tryInstallCertificate(parts[0]); },
        {}},
    Installation{"cert", "authenticator", "certificate authenticator", 2, "Its two parts", false,
                 [](zelpp::Pen &pen, uint16_t, const Parts &parts) {
                     return pen.tryInstallCertificateAuthenticator(parts[0], parts[1]);
                 },
                 "the second file must not be empty"},
    Installation{"key",
                 "install",
                 "signing key",
                 kKeyParts,
                 "The eight parts of the key",
                 true,
                 [](zelpp::Pen &pen, uint16_t number, const Parts &parts) {
                     std::array<zelpp::Bytes, kKeyParts> bytes;
                     std::copy(parts.begin(), parts.end(), bytes.begin());
                     return pen.tryInstallSigningKey(number, bytes);
                 },
                 {}},
};

void show(const Holding &holding, const HoldingOptions &options)
{
    const zelpp::Pen pen = openPen(options.choice);
    Json json = penJson(pen.info());
    std::string text;
    for (const Fact &fact : holding.facts(pen)) {
        json[fact.jsonKey] = fact.json;
        text += fmt::format("{}: {}\n", fact.label, fact.text);
    }
    if (options.json)
        printJson(json);
    else
        print(text);
}

void install(const Installation &installation, const HoldingOptions &options)
{
    const std::optional<uint64_t> number =
        installation.numbered ? parseNumber(options.number, UINT16_MAX) : uint64_t{0};
    if (!number)
        throw Failure(kUsageError,
                      fmt::format("\"{}\" is no number from 0 to {}", printable(options.number), UINT16_MAX));
    Parts parts;
    for (const std::string &file : options.files)
        parts.push_back(readWholeFile(file, kLongestPart));
    zelpp::Pen pen = openPen(options.choice);
    check(installation.install(pen, static_cast<uint16_t>(*number), parts),
          fmt::format("cannot install the {}", installation.name), installation.refused);
    print(fmt::format("installed the {} in pen {}\n", installation.name, serialOf(pen)));
}

void clear(const Holding &holding, const HoldingOptions &options)
{
    zelpp::Pen pen = openPen(options.choice);
    const std::string serial = serialOf(pen);
    requireConsent(options.yes, fmt::format("Remove the {} from pen {}?", holding.name, serial));
    check((pen.*holding.clear)(), fmt::format("cannot remove the {}", holding.name), holding.clearRefused);
    print(fmt::format("removed the {} from pen {}\n", holding.name, serial));
}

void fetchEncrypted(const HoldingOptions &options)
{
    AtomicFile file(options.output);
    const zelpp::Pen pen = openPen(options.choice);
    const zelpp::LibraryBytes data = check(pen.tryEncryptedData(options.argument),
                                           "cannot fetch the encrypted data", "the pen holds none");
    file.write({data.data(), data.size()});
    file.publish();
    print(fmt::format("wrote {}: {}, from pen {}\n", printable(options.output),
                      counted(data.size(), "byte", "bytes"), serialOf(pen)));
}

void addInstallation(CLI::App &family, const Installation &installation, const SharedHoldingOptions &options)
{
    const char *const article = installation.command == std::string("install") ? "a" : "the";
    CLI::App &command = addCommand(family, installation.command,
                                   fmt::format("Install {} {}", article, installation.name).c_str(),
                                   [&installation, options] { install(installation, *options); });
    addPenBeforeOthers(command, options->choice);
    if (installation.numbered)
        addText(command, "NUMBER", options->number, "", "The key's number", Need::Required);
    addTexts(command, "FILE", options->files, installation.files, installation.filesHelp);
}

void addFetchEncrypted(CLI::App &family, const SharedHoldingOptions &options)
{
    CLI::App &fetch = addCommand(family, "fetch", "Write a pen's encrypted data to a file",
                                 [options] { fetchEncrypted(*options); });
    addPen(fetch, options->choice);
    addText(fetch, "-o,--output", options->output, "FILE", "The file to write", Need::Required);
    addNumber(fetch, "--argument", options->argument, "A number that is handed on with the request");
}

void addHolding(CLI::App &program, const Holding &holding)
{
    CLI::App &family = addFamily(program, holding.command, holding.help);
    const auto options = std::make_shared<HoldingOptions>();
    CLI::App &showing =
        addCommand(family, "show", holding.showHelp, [&holding, options] { show(holding, *options); });
    addPen(showing, options->choice);
    addJson(showing, options->json);
    for (const Installation &installation : kInstallations)
        if (installation.family == std::string(holding.command))
            addInstallation(family, installation, options);
    if (holding.command == std::string("encrypted"))
        addFetchEncrypted(family, options);
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
