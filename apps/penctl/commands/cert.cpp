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

constexpr std::size_t kLongestData = 1024 * 1024;

struct CertOptions {
    PenChoice choice;
    std::string file1;
    std::string file2;
    bool yes = false;
    bool json = false;
};

using SharedCertOptions = std::shared_ptr<CertOptions>;

uint32_t lengthOf(const std::vector<uint8_t> &bytes)
{
    return static_cast<uint32_t>(bytes.size());
}

void showCertificate(const CertOptions &options)
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

void installCertificate(const CertOptions &options)
{
    const std::vector<uint8_t> data = readWholeFile(options.file1, kLongestData);
    const PenSession pen(options.choice);
    check(zelInstallCertificate(pen.handle(), data.data(), lengthOf(data)), "cannot install the certificate");
    print(fmt::format("installed the certificate in pen {}\n", printable(pen.identity().serial)));
}

void installAuthenticator(const CertOptions &options)
{
    const std::vector<uint8_t> data1 = readWholeFile(options.file1, kLongestData);
    const std::vector<uint8_t> data2 = readWholeFile(options.file2, kLongestData);
    const PenSession pen(options.choice);
    check(zelInstallCertificateAuthenticator(pen.handle(), data1.data(), lengthOf(data1), data2.data(),
                                             lengthOf(data2)),
          "cannot install the certificate authenticator", "the second file must not be empty");
    print(
        fmt::format("installed the certificate authenticator in pen {}\n", printable(pen.identity().serial)));
}

void clearCertificate(const CertOptions &options)
{
    const PenSession pen(options.choice);
    const std::string serial = printable(pen.identity().serial);
    requireConsent(options.yes, fmt::format("Remove the certificate from pen {}?", serial));
    check(zelClearCertificate(pen.handle()), "cannot remove the certificate");
    print(fmt::format("removed the certificate from pen {}\n", serial));
}

void addShowCertificate(CLI::App &cert, const SharedCertOptions &options)
{
    CLI::App *command = cert.add_subcommand("show", "Tell what certificate a pen holds");
    addPen(*command, options->choice);
    addJson(*command, options->json);
    command->callback([options] { showCertificate(*options); });
}

void addInstallCertificate(CLI::App &cert, const SharedCertOptions &options)
{
    CLI::App *command = cert.add_subcommand("install", "Install a certificate");
    addPenBeforeOthers(*command, options->choice);
    command->add_option("FILE", options->file1, "The certificate")->type_name("")->required();
    command->callback([options] { installCertificate(*options); });
}

void addInstallAuthenticator(CLI::App &cert, const SharedCertOptions &options)
{
    CLI::App *command = cert.add_subcommand("authenticator", "Install the certificate authenticator");
    addPenBeforeOthers(*command, options->choice);
    command->add_option("FILE1", options->file1, "Its first part")->type_name("")->required();
    command->add_option("FILE2", options->file2, "Its second part")->type_name("")->required();
    command->callback([options] { installAuthenticator(*options); });
}

void addClearCertificate(CLI::App &cert, const SharedCertOptions &options)
{
    CLI::App *command = cert.add_subcommand("clear", "Remove the certificate");
    addPen(*command, options->choice);
    addYes(*command, options->yes);
    command->callback([options] { clearCertificate(*options); });
}

} // namespace

void addCert(CLI::App &program)
{
    CLI::App *cert = program.add_subcommand("cert", "A pen's certificate and its authenticator");
    cert->require_subcommand(1);
    const auto options = std::make_shared<CertOptions>();
    addShowCertificate(*cert, options);
    addInstallCertificate(*cert, options);
    addInstallAuthenticator(*cert, options);
    addClearCertificate(*cert, options);
}

} // namespace penctl
