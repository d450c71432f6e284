#include "commands/command.h"

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include <zel/firmware.hpp>

#include "files/files.h"
#include "ui/interrupt.h"
#include "ui/progress.h"

namespace penctl {

namespace {

constexpr std::size_t kLongestImage = 1024u * 1024 * 1024;

zelpp::DfuLibrary startLibrary()
{
    return check(zelpp::DfuLibrary::tryStart(), "cannot start the library's firmware-upgrade mode");
}

Json dfuPenJson(const zelpp::PenInfo &pen)
{
    return {{"serial", pen.serial}, {"penId", penIdText(pen.penId)}};
}

void listDfuPens(const Question &question)
{
    const zelpp::DfuLibrary library = startLibrary();
    const std::vector<zelpp::PenInfo> pens = findPens(library, question.choice);
    Json list = Json::array();
    Table table({{"SERIAL"}, {"PEN ID"}, {"MODE"}});
    for (const zelpp::PenInfo &pen : pens) {
        list.push_back(dfuPenJson(pen));
        list.back()["firmwareUpgrade"] = pen.firmwareUpgrade;
        table.addRow({printable(pen.serial), penIdText(pen.penId),
                      pen.firmwareUpgrade ? "firmware upgrade" : "ordinary"});
    }
    if (question.json)
        printJson({{"pens", list}});
    if (pens.empty())
        failWithoutPens(question.choice);
    if (!question.json)
        print(table.text(coloursOn(Stream::Output)));
}

/** The chosen pen, connected. Every question to a pen in this mode changes its state, so a second penctl that
 * asks would break off what the first one sends: one penctl at a time has a pen, the others fail (75). */
struct DfuSession {
    explicit DfuSession(const PenChoice &choice)
        : library(startLibrary()),
          info(findPen(library, choice)),
          claim(fmt::format("zel-firmware-upgrade-{:016x}", info.penId)),
          pen(connect())
    {
    }

    zelpp::DfuPen connect() const
    {
        if (claim.isTaken())
            throw Failure(
                kPenTaken,
                fmt::format("another penctl works on pen {}; asking the pen now could break an upgrade off",
                            serial()));
        return check(tryConnect(), "cannot connect to the pen");
    }
    zelpp::Result<zelpp::DfuPen> tryConnect() const { return library.tryConnect(info); }
    std::string serial() const { return printable(info.serial); }

    zelpp::DfuLibrary library;
    zelpp::PenInfo info;
    NameClaim claim;
    zelpp::DfuPen pen;
};

void showStatus(const Question &question)
{
    const DfuSession session(question.choice);
    const zelpp::DfuStatus status =
        check(session.pen.tryStatus(), "cannot read the status", "the pen gave no status record");
    if (!question.json)
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

void showDescriptor(const Question &question)
{
    const DfuSession session(question.choice);
    const zelpp::DfuDescriptor descriptor = check(session.pen.tryDescriptor(), "cannot read the descriptor",
                                                  "the pen gave no functional descriptor");
    const auto yesNo = [](bool flag) { return flag ? "yes" : "no"; };
    if (!question.json)
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

/** One download, which an interruption gives up. */
class Sending
{
public:
    Sending(DfuSession &session, zelpp::Bytes image) : m_session(session), m_image(image) {}

    zelpp::Result<void> run()
    {
        ProgressDisplay display(m_session.serial(), "blocks");
        const OnInterrupt onInterrupt([this] { return giveUp(); });
        const zelpp::Result<void> result =
            m_session.pen.tryDownload(m_image, m_stop, [&](const zelpp::DownloadProgress &progress) {
                m_sent = progress.bytesSent;
                m_complete = progress.isComplete;
                display.update(
                    {progress.bytesSent, progress.bytesTotal, progress.blocksSent, progress.blocks});
            });
        m_result.set_value(result);
        return result;
    }

private:
    /** For the end after an interruption, which must come within a second. */
    static constexpr std::chrono::milliseconds kLongestStop{200};
    static constexpr std::chrono::milliseconds kLongestAbort{600};

    /** Runs beside the download, which may be waiting for an answer that never comes. */
    std::string giveUp()
    {
        if (m_complete)
            return "the pen has the whole image already";
        m_stop.request();
        std::future<zelpp::Result<void>> stopped = m_result.get_future();
        const std::string sent =
            fmt::format("{} of {} were sent", grouped(m_sent), counted(m_image.size(), "byte", "bytes"));
        if (stopped.wait_for(kLongestStop) == std::future_status::ready) {
            const zelpp::Result<void> result = stopped.get();
            return result ? "the pen has the whole image" : sent + ", and " + reasonOf(result.error());
        }
        return sent + ", and " + abortElsewhere();
    }

    static std::string reasonOf(const zelpp::Error &error)
    {
        return error.detail().empty() ? error.sentence() : error.detail();
    }

    /** Over a connection of its own, on a thread that is not waited for long. A pen that is busy takes an
     * abort for an error, which has to be cleared. */
    std::string abortElsewhere()
    {
        std::packaged_task<bool()> task([this] {
            zelpp::Result<zelpp::DfuPen> other = m_session.tryConnect();
            return other && (other->tryAbort() || other->tryClearStatus());
        });
        std::future<bool> aborted = task.get_future();
        std::thread(std::move(task)).detach();
        if (aborted.wait_for(kLongestAbort) == std::future_status::ready && aborted.get())
            return "the pen was told to give up the image";
        return "the pen does not answer; `penctl dfu abort` tells it to give up the image";
    }

    DfuSession &m_session;
    zelpp::Bytes m_image;
    zelpp::DownloadStop m_stop;
    std::promise<zelpp::Result<void>> m_result;
    std::atomic<uint64_t> m_sent = 0;
    std::atomic<bool> m_complete = false;
};

/** The header's own reasons are about the pen; they leave with 11 where the library has no code. */
void checkDownload(const zelpp::Result<void> &result)
{
    if (result)
        return;
    const zelpp::Error &error = result.error();
    if (error.detail().empty())
        failOn(error, "cannot send the image", "the pen did not answer");
    const uint32_t code = error.reason() == zelpp::Errc::downloadFailed ? ZEL_ERR_UNEXPECTED : error.number();
    throw Failure(static_cast<int>(code), fmt::format("{} ({})", error.detail(), code));
}

struct DownloadOptions {
    PenChoice choice;
    std::string image;
    bool yes = false;
};

void downloadImage(const DownloadOptions &options)
{
    const std::vector<uint8_t> image = readWholeFile(options.image, kLongestImage);
    if (image.empty())
        throw Failure(kNoInput, fmt::format("{} is empty", printable(options.image)));
    DfuSession session(options.choice);
    const std::string size = counted(image.size(), "byte", "bytes");
    note(fmt::format("pen {} ({}) is about to be given {} ({}); nothing else may ask it meanwhile",
                     session.serial(), penIdText(session.info.penId), printable(options.image), size));
    requireConsent(options.yes, fmt::format("Replace the firmware of pen {}?", session.serial()));
    checkDownload(Sending(session, image).run());
    print(fmt::format("sent {} to pen {}: {}\n", printable(options.image), session.serial(), size));
}

/** A request without an answer of its own. */
struct Request {
    const char *command;
    const char *help;
    zelpp::Result<void> (zelpp::DfuPen::*send)();
    const char *failure;
    const char *done;
};

constexpr Request kRequests[] = {
    {"reset", "Reset the pen's port", &zelpp::DfuPen::tryResetPort, "cannot reset the port", "port reset"},
    {"abort", "Give up an image that is being sent", &zelpp::DfuPen::tryAbort, "cannot abort", "aborted"},
    {"clear", "Clear an error", &zelpp::DfuPen::tryClearStatus, "cannot clear the status", "error cleared"},
};
constexpr Request kDetach = {"detach", "Let the pen change between its firmware and this mode",
                             &zelpp::DfuPen::tryDetach, "cannot detach", "detached"};
constexpr Request kDetachBoot = {"detach", "", &zelpp::DfuPen::tryDetachToBootLoader,
                                 "cannot detach to the boot loader", "detached"};

void tell(const PenChoice &choice, const Request &request)
{
    DfuSession session(choice);
    check((session.pen.*request.send)(), request.failure, "the pen did not answer");
    print(fmt::format("pen {}: {}\n", session.serial(), request.done));
}

struct DetachOptions {
    PenChoice choice;
    bool boot = false;
};

void detach(const DetachOptions &options)
{
    tell(options.choice, options.boot ? kDetachBoot : kDetach);
}

void addDownload(CLI::App &dfu)
{
    auto [command, options] =
        addCommand<DownloadOptions>(dfu, "download", "Send a firmware image to a pen", downloadImage);
    addPenBeforeOthers(command, options.choice);
    addText(command, "IMAGE", options.image, "", "The file that holds the image", Need::Required);
    addYes(command, options.yes);
}

} // namespace

void addDfu(CLI::App &program)
{
    CLI::App &dfu = addFamily(program, "dfu", "Firmware-upgrade mode");
    auto [list, question] =
        addCommand<Question>(dfu, "list", "List the pens announced in this mode", listDfuPens);
    addWaiting(list, question.choice);
    addJson(list, question.json);
    addQuestion(dfu, "status", "Show a pen's upgrade status", showStatus);
    addQuestion(dfu, "descriptor", "Show what a pen's upgrade mode can do", showDescriptor);
    addDownload(dfu);
    auto [leave, options] = addCommand<DetachOptions>(dfu, kDetach.command, kDetach.help, detach);
    addPen(leave, options.choice);
    addFlag(leave, "--boot", options.boot, "Detach to the boot loader");
    for (const Request &request : kRequests) {
        auto [command, choice] = addCommand<PenChoice>(
            dfu, request.command, request.help, [&request](const PenChoice &given) { tell(given, request); });
        addPen(command, choice);
    }
}

} // namespace penctl
