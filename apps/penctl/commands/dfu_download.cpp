#include "commands/dfu_download.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <thread>
#include <utility>

#include <fmt/format.h>

#include "exit_code.h"
#include "failure.h"
#include "pen/result.h"
#include "ui/interrupt.h"
#include "ui/printable.h"
#include "ui/units.h"

namespace penctl {

namespace {

constexpr uint8_t kUnexpectedRequest = 15;

/** For a pen that names no size. */
constexpr std::size_t kUsualBlock = 1024;

/** For the end after an interruption, which must come within a second. */
constexpr std::chrono::milliseconds kLongestRequest{200};
constexpr std::chrono::milliseconds kLongestAbort{600};

std::size_t blockSize(const zelpp::DfuDescriptor &descriptor)
{
    if (!descriptor.canDownload())
        throw Failure(ZEL_ERR_NOT_SUPPORTED, "the pen takes no images (4)");
    return descriptor.transferSize == 0 ? kUsualBlock : descriptor.transferSize;
}

/** Whatever state the pen is in then, nothing of this program brought it there. */
constexpr const char *kDisturbed = "; did another program ask the pen meanwhile?";

[[noreturn]] void failWith(const zelpp::DfuStatus &status, uint64_t sent)
{
    const bool ownFault = status.failed() && status.status != kUnexpectedRequest;
    throw Failure(ZEL_ERR_UNEXPECTED,
                  fmt::format("the pen stopped after {}: {} (status {}, {}) (11){}",
                              counted(sent, "byte", "bytes"), zelpp::dfuStatusText(status.status),
                              status.status, dfuStateName(status.state), ownFault ? "" : kDisturbed));
}

/** A pen that is busy takes this for an error, which has to be cleared. */
void giveUpImage(zelpp::DfuPen &pen)
{
    if (!pen.tryAbort())
        check(pen.tryClearStatus(), "cannot clear the status", "the pen did not answer");
}

/** A pen that asks for no pause must not be asked again without one. */
void pause(const zelpp::DfuStatus &status)
{
    std::this_thread::sleep_for(std::max(status.pollTimeout, std::chrono::milliseconds(1)));
}

zelpp::DfuPen connectUnlessTaken(const zelpp::DfuLibrary &library, const zelpp::PenInfo &info,
                                 const PenClaim &claim)
{
    if (claim.isTaken())
        throw Failure(
            kPenTaken,
            fmt::format("another penctl works on pen {}; asking the pen now could break an upgrade off",
                        printable(info.serial)));
    return check(library.tryConnect(info), "cannot connect to the pen");
}

} // namespace

zelpp::DfuLibrary startDfuLibrary()
{
    return check(zelpp::DfuLibrary::tryStart(), "cannot start the library's firmware-upgrade mode");
}

DfuSession::DfuSession(const PenChoice &choice)
    : library(startDfuLibrary()),
      info(findPen(library, choice)),
      claim(info.penId),
      pen(connectUnlessTaken(library, info, claim))
{
}

DfuDownload::DfuDownload(DfuSession &session, zelpp::Bytes image)
    : m_library(session.library),
      m_pen(session.pen),
      m_image(image),
      m_descriptor(check(m_pen.tryDescriptor(), "cannot read the descriptor",
                         "the pen gave no functional descriptor")),
      m_blockSize(blockSize(m_descriptor))
{
}

uint64_t DfuDownload::blocks() const
{
    return (m_image.size() + m_blockSize - 1) / m_blockSize;
}

void DfuDownload::run(const DfuProgress &progress)
{
    const OnInterrupt onInterrupt([this] { return giveUp(); });
    makeIdle();
    progress(0, 0);
    for (uint64_t block = 1; m_sent < m_image.size(); ++block) {
        const std::size_t size = std::min<std::size_t>(m_blockSize, m_image.size() - m_sent);
        sendBlock(m_image.subrun(m_sent, size));
        m_sent += size;
        progress(m_sent, block);
    }
    manifest();
}

/** A download begins in dfuIDLE; what an earlier one left behind is cleared away. */
void DfuDownload::makeIdle()
{
    zelpp::DfuStatus status = this->status();
    if (status.state == zelpp::DfuState::error)
        check(m_pen.tryClearStatus(), "cannot clear the status", "the pen did not answer");
    else if (status.state == zelpp::DfuState::downloadIdle || status.state == zelpp::DfuState::uploadIdle)
        check(m_pen.tryAbort(), "cannot abort", "the pen did not answer");
    status = this->status();
    if (status.state != zelpp::DfuState::idle)
        throw Failure(ZEL_ERR_UNEXPECTED, fmt::format("the pen is not ready for an image: it is in {} (11)",
                                                      dfuStateName(status.state)));
}

void DfuDownload::sendBlock(zelpp::Bytes data)
{
    download(data);
    const zelpp::DfuStatus status = settledStatus();
    if (status.state != zelpp::DfuState::downloadIdle)
        failWith(status, m_sent);
}

void DfuDownload::download(zelpp::Bytes data)
{
    const std::lock_guard lock(m_requesting);
    try {
        check(m_pen.trySendBlock(m_number++, data), "cannot send a block", "the pen did not take it");
    } catch (const Failure &failure) {
        throw Failure(failure.exitCode(),
                      failure.what() +
                          (failure.exitCode() == ZEL_ERR_COMMUNICATION ? "" : std::string(kDisturbed)));
    }
}

zelpp::DfuStatus DfuDownload::status()
{
    const std::lock_guard lock(m_requesting);
    return check(m_pen.tryStatus(), "cannot read the status", "the pen gave no status record");
}

void DfuDownload::manifest()
{
    download({});
    m_complete = true;
    const zelpp::DfuStatus status = settledStatus();
    if (status.state == zelpp::DfuState::manifest || status.state == zelpp::DfuState::manifestWaitReset) {
        pause(status);
        resetPort();
    } else if (status.state != zelpp::DfuState::idle) {
        failWith(status, m_sent);
    }
}

/** The pen has the whole image by now. One that restarts at once may not answer any more. */
void DfuDownload::resetPort()
{
    const zelpp::Result<void> reset = m_pen.tryResetPort();
    if (!reset && reset.error().reason() != zelpp::Errc::communication)
        failOn(reset.error(), "cannot reset the port", "the pen did not answer");
}

/** Asks until the pen has done what it is at, waiting in between as long as it says: asked too early it would
 * take that for a fault. */
zelpp::DfuStatus DfuDownload::settledStatus()
{
    for (;;) {
        const zelpp::DfuStatus status = this->status();
        if (status.failed())
            failWith(status, m_sent);
        if (!isBusy(status))
            return status;
        pause(status);
    }
}

/** A pen that is not tolerant of manifestation cannot be asked after it, only be reset. */
bool DfuDownload::isBusy(const zelpp::DfuStatus &status) const
{
    return status.state == zelpp::DfuState::downloadSync || status.state == zelpp::DfuState::downloadBusy ||
           status.state == zelpp::DfuState::manifestSync ||
           (status.state == zelpp::DfuState::manifest && m_descriptor.isManifestationTolerant());
}

/** The command may be waiting for an answer that never comes, so this is done beside it and not waited for
 * long. */
std::string DfuDownload::giveUp()
{
    if (m_complete)
        return "the pen has the whole image already";
    std::packaged_task<void()> task([this] { abort(); });
    std::future<void> aborted = task.get_future();
    std::thread(std::move(task)).detach();
    const std::string sent =
        fmt::format("{} of {} were sent", grouped(m_sent), counted(m_image.size(), "byte", "bytes"));
    if (aborted.wait_for(kLongestAbort) != std::future_status::ready)
        return sent + ", and the pen does not answer; `penctl dfu abort` tells it to give up the image";
    try {
        aborted.get();
        return sent + ", and the pen was told to give up the image";
    } catch (const Failure &failure) {
        return sent + "; " + failure.what();
    }
}

/** Over a connection of its own when the usual one waits for an answer. */
void DfuDownload::abort()
{
    if (m_requesting.try_lock_for(kLongestRequest))
        return giveUpImage(m_pen);
    zelpp::DfuPen other = check(m_library.tryConnect(m_pen.info()), "cannot connect to the pen");
    giveUpImage(other);
}

} // namespace penctl
