#include "commands/commands.h"

#include <memory>

#include <fmt/format.h>

#include "commands/dfu_download.h"
#include "commands/options.h"
#include "exit_code.h"
#include "failure.h"
#include "files/input_file.h"
#include "pen/result.h"
#include "ui/confirm.h"
#include "ui/json.h"
#include "ui/output.h"
#include "ui/printable.h"
#include "ui/progress_display.h"
#include "ui/style.h"
#include "ui/table.h"
#include "ui/units.h"

namespace penctl {

namespace {

constexpr std::size_t kLongestImage = 1024u * 1024 * 1024;

struct DfuOptions {
    PenChoice choice;
    std::string image;
    bool boot = false;
    bool yes = false;
    bool json = false;
};

using SharedDfuOptions = std::shared_ptr<DfuOptions>;

Json dfuPenJson(const zelpp::PenInfo &pen)
{
    return {{"serial", pen.serial}, {"penId", penIdText(pen.penId)}};
}

Json dfuPensJson(const std::vector<zelpp::PenInfo> &pens)
{
    Json list = Json::array();
    for (const zelpp::PenInfo &pen : pens) {
        Json json = dfuPenJson(pen);
        json["firmwareUpgrade"] = pen.firmwareUpgrade;
        list.push_back(json);
    }
    return {{"pens", list}};
}

void printDfuPens(const std::vector<zelpp::PenInfo> &pens)
{
    Table table({{"SERIAL"}, {"PEN ID"}, {"MODE"}});
    for (const zelpp::PenInfo &pen : pens)
        table.addRow({printable(pen.serial), penIdText(pen.penId),
                      pen.firmwareUpgrade ? "firmware upgrade" : "ordinary"});
    print(table.text(coloursOn(Stream::Output)));
}

void listDfuPens(const DfuOptions &options)
{
    const zelpp::DfuLibrary library = startDfuLibrary();
    const std::vector<zelpp::PenInfo> pens = findPens(library, options.choice);
    if (options.json)
        printJson(dfuPensJson(pens));
    if (pens.empty())
        failWithoutPens(options.choice);
    if (!options.json)
        printDfuPens(pens);
}

void showStatus(const DfuOptions &options)
{
    const DfuSession session(options.choice);
    const zelpp::DfuStatus status =
        check(session.pen.tryStatus(), "cannot read the status", "the pen gave no status record");
    if (!options.json)
        return print(fmt::format("state         {}\nstatus        {}: {}\npoll timeout  {} ms\n",
                                 dfuStateName(status.state), status.status,
                                 zelpp::dfuStatusText(status.status), status.pollTimeout.count()));
    Json json = dfuPenJson(session.info);
    json["state"] = {{"code", static_cast<uint8_t>(status.state)}, {"name", dfuStateName(status.state)}};
    json["status"] = {{"code", status.status}, {"text", zelpp::dfuStatusText(status.status)}};
    json["pollTimeoutMillis"] = status.pollTimeout.count();
    json["stringIndex"] = status.stringIndex;
    printJson(json);
}

const char *yesNo(bool flag)
{
    return flag ? "yes" : "no";
}

void showDescriptor(const DfuOptions &options)
{
    const DfuSession session(options.choice);
    const zelpp::DfuDescriptor descriptor = check(session.pen.tryDescriptor(), "cannot read the descriptor",
                                                  "the pen gave no functional descriptor");
    if (!options.json)
        return print(fmt::format("takes images              {}\ngives images              {}\n"
                                 "answers after manifesting {}\ndetach timeout            {} ms\n"
                                 "transfer size             {} bytes\n",
                                 yesNo(descriptor.canDownload()), yesNo(descriptor.canUpload()),
                                 yesNo(descriptor.isManifestationTolerant()),
                                 descriptor.detachTimeout.count(), descriptor.transferSize));
    Json json = dfuPenJson(session.info);
    json["canDownload"] = descriptor.canDownload();
    json["canUpload"] = descriptor.canUpload();
    json["manifestationTolerant"] = descriptor.isManifestationTolerant();
    json["detachTimeoutMillis"] = descriptor.detachTimeout.count();
    json["transferSize"] = descriptor.transferSize;
    printJson(json);
}

void sendImage(DfuSession &session, const std::vector<uint8_t> &image, const std::string &serial)
{
    DfuDownload download(session, image);
    ProgressDisplay display(serial, "blocks", download.blocks());
    download.run([&](uint64_t bytes, uint64_t blocks) { display.update(bytes, image.size(), blocks); });
}

void downloadImage(const DfuOptions &options)
{
    const std::vector<uint8_t> image = readWholeFile(options.image, kLongestImage);
    if (image.empty())
        throw Failure(kNoInput, fmt::format("{} is empty", printable(options.image)));
    DfuSession session(options.choice);
    const std::string serial = printable(session.info.serial);
    const std::string size = counted(image.size(), "byte", "bytes");
    note(fmt::format("pen {} ({}) is about to be given {} ({}); nothing else may ask it meanwhile", serial,
                     penIdText(session.info.penId), printable(options.image), size));
    requireConsent(options.yes, fmt::format("Replace the firmware of pen {}?", serial));
    sendImage(session, image, serial);
    print(fmt::format("sent {} to pen {}: {}\n", printable(options.image), serial, size));
}

/** A request without an answer of its own. */
struct Request {
    zelpp::Result<void> (zelpp::DfuPen::*send)();
    const char *what;
    const char *done;
};

constexpr Request kReset = {&zelpp::DfuPen::tryResetPort, "cannot reset the port", "port reset"};
constexpr Request kAbort = {&zelpp::DfuPen::tryAbort, "cannot abort", "aborted"};
constexpr Request kClear = {&zelpp::DfuPen::tryClearStatus, "cannot clear the status", "error cleared"};
constexpr Request kDetach = {&zelpp::DfuPen::tryDetach, "cannot detach", "detached"};
constexpr Request kDetachBoot = {&zelpp::DfuPen::tryDetachToBootLoader, "cannot detach to the boot loader",
                                 "detached"};

void tell(const DfuOptions &options, const Request &request)
{
    DfuSession session(options.choice);
    check((session.pen.*request.send)(), request.what, "the pen did not answer");
    print(fmt::format("pen {}: {}\n", printable(session.info.serial), request.done));
}

void addListing(CLI::App &dfu, const SharedDfuOptions &options)
{
    CLI::App &command =
        addCommand(dfu, "list", "List the pens announced in this mode", [options] { listDfuPens(*options); });
    addWaiting(command, options->choice);
    addJson(command, options->json);
}

void addQuestion(CLI::App &dfu, const char *name, const char *help, const SharedDfuOptions &options,
                 void (*ask)(const DfuOptions &))
{
    CLI::App &command = addCommand(dfu, name, help, [options, ask] { ask(*options); });
    addPen(command, options->choice);
    addJson(command, options->json);
}

void addDownload(CLI::App &dfu, const SharedDfuOptions &options)
{
    CLI::App &command =
        addCommand(dfu, "download", "Send a firmware image to a pen", [options] { downloadImage(*options); });
    addPenBeforeOthers(command, options->choice);
    addText(command, "IMAGE", options->image, "", "The file that holds the image", Need::Required);
    addYes(command, options->yes);
}

void addRequest(CLI::App &dfu, const char *name, const char *help, const SharedDfuOptions &options,
                const Request &request)
{
    addPen(addCommand(dfu, name, help, [options, &request] { tell(*options, request); }), options->choice);
}

void addDetach(CLI::App &dfu, const SharedDfuOptions &options)
{
    CLI::App &command = addCommand(dfu, "detach", "Let the pen change between its firmware and this mode",
                                   [options] { tell(*options, options->boot ? kDetachBoot : kDetach); });
    addPen(command, options->choice);
    addFlag(command, "--boot", options->boot, "Detach to the boot loader");
}

} // namespace

void addDfu(CLI::App &program)
{
    CLI::App &dfu = addFamily(program, "dfu", "Firmware-upgrade mode");
    const auto options = std::make_shared<DfuOptions>();
    addListing(dfu, options);
    addQuestion(dfu, "status", "Show a pen's upgrade status", options, showStatus);
    addQuestion(dfu, "descriptor", "Show what a pen's upgrade mode can do", options, showDescriptor);
    addDownload(dfu, options);
    addDetach(dfu, options);
    addRequest(dfu, "reset", "Reset the pen's port", options, kReset);
    addRequest(dfu, "abort", "Give up an image that is being sent", options, kAbort);
    addRequest(dfu, "clear", "Clear an error", options, kClear);
}

} // namespace penctl
