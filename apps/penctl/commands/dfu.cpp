#include "commands/commands.h"

#include <memory>

#include <fmt/format.h>

#include "commands/options.h"
#include "exit_code.h"
#include "failure.h"
#include "files/input_file.h"
#include "host/dfu_download.h"
#include "host/dfu_session.h"
#include "host/result.h"
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

Json dfuPenJson(const PenIdentity &pen)
{
    return {{"serial", pen.serial}, {"penId", penIdText(pen.penId)}};
}

bool isInDfuMode(const PresentPen &pen)
{
    uint8_t mode = 0;
    check(zelDfuGetMode(pen.record.get(), &mode), "cannot read a pen's mode");
    return mode != 0;
}

Json dfuPensJson(const std::vector<PresentPen> &pens)
{
    Json list = Json::array();
    for (const PresentPen &pen : pens) {
        Json json = dfuPenJson(pen.identity);
        json["firmwareUpgrade"] = isInDfuMode(pen);
        list.push_back(json);
    }
    return {{"pens", list}};
}

void printDfuPens(const std::vector<PresentPen> &pens)
{
    Table table({{"SERIAL"}, {"PEN ID"}, {"MODE"}});
    for (const PresentPen &pen : pens)
        table.addRow({printable(pen.identity.serial), penIdText(pen.identity.penId),
                      isInDfuMode(pen) ? "firmware upgrade" : "ordinary"});
    print(table.text(coloursOn(Stream::Output)));
}

void listDfuPens(const DfuOptions &options)
{
    DfuLibrary library;
    const std::vector<PresentPen> pens = findPens(library.events(), options.choice);
    if (options.json)
        printJson(dfuPensJson(pens));
    if (pens.empty())
        failWithoutPens(options.choice);
    if (!options.json)
        printDfuPens(pens);
}

void showStatus(const DfuOptions &options)
{
    DfuSession pen(options.choice);
    const DfuStatus status = pen.connection().status();
    if (!options.json)
        return print(fmt::format("state         {}\nstatus        {}: {}\npoll timeout  {} ms\n",
                                 dfuStateName(status.state), status.status, dfuStatusWords(status.status),
                                 status.pollTimeoutMillis));
    Json json = dfuPenJson(pen.identity());
    json["state"] = {{"code", status.state}, {"name", dfuStateName(status.state)}};
    json["status"] = {{"code", status.status}, {"text", dfuStatusWords(status.status)}};
    json["pollTimeoutMillis"] = status.pollTimeoutMillis;
    json["stringIndex"] = status.stringIndex;
    printJson(json);
}

const char *yesNo(bool flag)
{
    return flag ? "yes" : "no";
}

void showDescriptor(const DfuOptions &options)
{
    DfuSession pen(options.choice);
    const DfuDescriptor descriptor = pen.connection().descriptor();
    if (!options.json)
        return print(fmt::format("takes images              {}\ngives images              {}\n"
                                 "answers after manifesting {}\ndetach timeout            {} ms\n"
                                 "transfer size             {} bytes\n",
                                 yesNo(descriptor.canDownload()), yesNo(descriptor.canUpload()),
                                 yesNo(descriptor.manifestationTolerant()), descriptor.detachTimeoutMillis,
                                 descriptor.transferSize));
    Json json = dfuPenJson(pen.identity());
    json["canDownload"] = descriptor.canDownload();
    json["canUpload"] = descriptor.canUpload();
    json["manifestationTolerant"] = descriptor.manifestationTolerant();
    json["detachTimeoutMillis"] = descriptor.detachTimeoutMillis;
    json["transferSize"] = descriptor.transferSize;
    printJson(json);
}

void sendImage(DfuSession &pen, const std::vector<uint8_t> &image, const std::string &serial)
{
    DfuDownload download(pen, image);
    ProgressDisplay display(serial, "blocks", download.blocks());
    download.run([&](uint64_t bytes, uint64_t blocks) { display.update(bytes, image.size(), blocks); });
}

void downloadImage(const DfuOptions &options)
{
    const std::vector<uint8_t> image = readWholeFile(options.image, kLongestImage);
    if (image.empty())
        throw Failure(kNoInput, fmt::format("{} is empty", printable(options.image)));
    DfuSession pen(options.choice);
    const std::string serial = printable(pen.identity().serial);
    const std::string size = counted(image.size(), "byte", "bytes");
    note(fmt::format("pen {} ({}) is about to be given {} ({}); nothing else may ask it meanwhile", serial,
                     penIdText(pen.identity().penId), printable(options.image), size));
    requireConsent(options.yes, fmt::format("Replace the firmware of pen {}?", serial));
    sendImage(pen, image, serial);
    print(fmt::format("sent {} to pen {}: {}\n", printable(options.image), serial, size));
}

void tell(const DfuOptions &options, void (DfuConnection::*operation)(), const char *done)
{
    DfuSession pen(options.choice);
    (pen.connection().*operation)();
    print(fmt::format("pen {}: {}\n", printable(pen.identity().serial), done));
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
                void (DfuConnection::*operation)(), const char *done)
{
    addPen(addCommand(dfu, name, help, [=] { tell(*options, operation, done); }), options->choice);
}

void addDetach(CLI::App &dfu, const SharedDfuOptions &options)
{
    CLI::App &command =
        addCommand(dfu, "detach", "Let the pen change between its firmware and this mode", [options] {
            tell(*options, options->boot ? &DfuConnection::detachBoot : &DfuConnection::detach, "detached");
        });
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
    addRequest(dfu, "reset", "Reset the pen's port", options, &DfuConnection::resetPort, "port reset");
    addRequest(dfu, "abort", "Give up an image that is being sent", options, &DfuConnection::abort,
               "aborted");
    addRequest(dfu, "clear", "Clear an error", options, &DfuConnection::clearStatus, "error cleared");
}

} // namespace penctl
