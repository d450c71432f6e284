#include "commands/command.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "files/files.h"

/** What a pen holds besides pages: certificate, signing key, encrypted data. Each is a family of commands
 * that tell of it, bring it and take it away; the tables below say what is special about each. */
namespace penctl {

namespace {

constexpr std::size_t kKeyParts = 8;
constexpr std::size_t kLongestPart = 1024 * 1024;

using Parts = std::vector<std::vector<uint8_t>>;

/** One thing that `show` tells. */
struct Fact {
    const char *label;
    const char *jsonKey;
    std::string text;
    Json json;
};

struct Holding {
    std::string_view command;
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
    std::string_view family;
    const char *command;
    const char *help;
    const char *name;
    std::size_t files;
    const char *filesHelp;
    bool numbered;
    zelpp::Result<void> (*install)(zelpp::Pen &pen, uint16_t number, const Parts &parts);
    Meaning refused;
};

std::vector<Fact> yesOrNo(const char *label, const char *jsonKey, const zelpp::Result<bool> &answer)
{
    const bool present = check(answer, fmt::format("cannot ask for the {}", label));
    return {{label, jsonKey, present ? "yes" : "no", present}};
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

std::vector<Fact> keyFacts(const zelpp::Pen &pen)
{
    return yesOrNo("signing key", "signingKey", pen.tryHasSigningKey());
}

std::vector<Fact> encryptedDataFacts(const zelpp::Pen &pen)
{
    return yesOrNo("encrypted data", "encryptedData", pen.tryHasEncryptedData());
}

constexpr std::array kHoldings = {
    Holding{"cert", "A pen's certificate and its authenticator", "certificate",
            "Tell what certificate a pen holds", certificateFacts, &zelpp::Pen::tryClearCertificate, ""},
    Holding{"key", "A pen's signing key", "signing key", "Tell whether a pen holds a signing key", keyFacts,
            &zelpp::Pen::tryClearSigningKey, ""},
    Holding{"encrypted", "A pen's encrypted data", "encrypted data",
            "Tell whether a pen holds encrypted data", encryptedDataFacts, &zelpp::Pen::tryClearEncryptedData,
            "the pen refused"},
};

zelpp::Result<void> installCertificate(zelpp::Pen &pen, uint16_t, const Parts &parts)
{
    return pen.tryInstallCertificate(parts[0]);
}

zelpp::Result<void> installAuthenticator(zelpp::Pen &pen, uint16_t, const Parts &parts)
{
    return pen.tryInstallCertificateAuthenticator(parts[0], parts[1]);
}

zelpp::Result<void> installKey(zelpp::Pen &pen, uint16_t number, const Parts &parts)
{
    std::array<zelpp::Bytes, kKeyParts> bytes;
    std::copy(parts.begin(), parts.end(), bytes.begin());
    return pen.tryInstallSigningKey(number, bytes);
}

constexpr std::array kInstallations = {
    Installation{"cert", "install", "Install a certificate", "certificate", 1, "The certificate", false,
                 installCertificate, ""},
    Installation{"cert", "authenticator", "Install the certificate authenticator",
                 "certificate authenticator", 2, "Its two parts", false, installAuthenticator,
                 "the second file must not be empty"},
    Installation{"key", "install", "Install a signing key", "signing key", kKeyParts,
                 "The eight parts of the key", true, installKey, ""},
};

void showHolding(const Holding &holding, const Question &question)
{
    const zelpp::Pen pen = openPen(question.choice);
    Json json = penJson(pen.info());
    std::string text;
    for (const Fact &fact : holding.facts(pen)) {
        json[fact.jsonKey] = fact.json;
        text += fmt::format("{}: {}\n", fact.label, fact.text);
    }
    if (question.json)
        printJson(json);
    else
        print(text);
}

struct InstallOptions {
    PenChoice choice;
    /** The key's number; a text, because otherwise one that is no number would count as a file. */
    std::string number;
    std::vector<std::string> files;
};

void install(const Installation &installation, const InstallOptions &options)
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

void addInstallation(CLI::App &family, const Installation &installation)
{
    auto [command, options] = addCommand<InstallOptions>(
        family, installation.command, installation.help,
        [&installation](const InstallOptions &given) { install(installation, given); });
    addPenBeforeOthers(command, options.choice);
    if (installation.numbered)
        addText(command, "NUMBER", options.number, "", "The key's number", Need::Required);
    addTexts(command, "FILE", options.files, installation.files, installation.filesHelp);
}

struct ClearOptions {
    PenChoice choice;
    bool yes = false;
};

void clear(const Holding &holding, const ClearOptions &options)
{
    zelpp::Pen pen = openPen(options.choice);
    const std::string serial = serialOf(pen);
    requireConsent(options.yes, fmt::format("Remove the {} from pen {}?", holding.name, serial));
    check((pen.*holding.clear)(), fmt::format("cannot remove the {}", holding.name), holding.clearRefused);
    print(fmt::format("removed the {} from pen {}\n", holding.name, serial));
}

struct FetchEncryptedOptions {
    PenChoice choice;
    uint64_t argument = 0;
    std::string output;
};

void fetchEncrypted(const FetchEncryptedOptions &options)
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

void addFetchEncrypted(CLI::App &family)
{
    auto [command, options] = addCommand<FetchEncryptedOptions>(
        family, "fetch", "Write a pen's encrypted data to a file", fetchEncrypted);
    addPen(command, options.choice);
    addText(command, "-o,--output", options.output, "FILE", "The file to write", Need::Required);
    addNumber(command, "--argument", options.argument, "A number that is handed on with the request");
}

void addHolding(CLI::App &program, const Holding &holding)
{
    CLI::App &family = addFamily(program, holding.command.data(), holding.help);
    addQuestion(family, "show", holding.showHelp,
                [&holding](const Question &question) { showHolding(holding, question); });
    for (const Installation &installation : kInstallations)
        if (installation.family == holding.command)
            addInstallation(family, installation);
    if (holding.command == "encrypted")
        addFetchEncrypted(family);
    auto [command, options] =
        addCommand<ClearOptions>(family, "clear", fmt::format("Remove the {}", holding.name).c_str(),
                                 [&holding](const ClearOptions &given) { clear(holding, given); });
    addPen(command, options.choice);
    addYes(command, options.yes);
}

} // namespace

void addHoldings(CLI::App &program)
{
    for (const Holding &holding : kHoldings)
        addHolding(program, holding);
}

} // namespace penctl
