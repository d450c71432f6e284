#include "host/dfu_download.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <thread>
#include <utility>

#include <fmt/format.h>
#include <zel/zel.h>

#include "failure.h"
#include "ui/interrupt.h"
#include "ui/units.h"

namespace penctl {

namespace {

constexpr uint8_t kUnexpectedRequest = 15;

/** For a pen that names no size. */
constexpr std::size_t kUsualBlock = 1024;

/** For the end after an interruption, which must come within a second. */
constexpr std::chrono::milliseconds kLongestRequest{200};
constexpr std::chrono::milliseconds kLongestAbort{600};

std::size_t blockSize(const DfuDescriptor &descriptor)
{
    if (!descriptor.canDownload())
        throw Failure(ZEL_ERR_NOT_SUPPORTED, "the pen takes no images (4)");
    return descriptor.transferSize == 0 ? kUsualBlock : descriptor.transferSize;
}

/** Whatever state the pen is in then, nothing of this program brought it there. */
constexpr const char *kDisturbed = "; did another program ask the pen meanwhile?";

[[noreturn]] void failWith(const DfuStatus &status, uint64_t sent)
{
    const bool ownFault = status.failed() && status.status != kUnexpectedRequest;
    throw Failure(ZEL_ERR_UNEXPECTED,
                  fmt::format("the pen stopped after {}: {} (status {}, {}) (11){}",
                              counted(sent, "byte", "bytes"), dfuStatusWords(status.status), status.status,
                              dfuStateName(status.state), ownFault ? "" : kDisturbed));
}

/** A pen that is busy takes this for an error, which has to be cleared. */
void giveUpImage(DfuConnection &pen)
{
    try {
        pen.abort();
    } catch (const Failure &) {
        pen.clearStatus();
    }
}

/** A pen that asks for no pause must not be asked again without one. */
void pause(const DfuStatus &status)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(std::max(status.pollTimeoutMillis, 1u)));
}

} // namespace

DfuDownload::DfuDownload(DfuSession &session, std::span<const uint8_t> image)
    : m_record(session.record()),
      m_pen(session.connection()),
      m_image(image),
      m_descriptor(m_pen.descriptor()),
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
        sendBlock(m_image.subspan(m_sent, size));
        m_sent += size;
        progress(m_sent, block);
    }
    manifest();
}

/** A download begins in dfuIDLE; what an earlier one left behind is cleared away. */
void DfuDownload::makeIdle()
{
    DfuStatus status = m_pen.status();
    if (status.isIn(DfuState::Error))
        m_pen.clearStatus();
    else if (status.isIn(DfuState::DownloadIdle) || status.isIn(DfuState::UploadIdle))
        m_pen.abort();
    status = m_pen.status();
    if (!status.isIn(DfuState::Idle))
        throw Failure(ZEL_ERR_UNEXPECTED, fmt::format("the pen is not ready for an image: it is in {} (11)",
                                                      dfuStateName(status.state)));
}

void DfuDownload::sendBlock(std::span<const uint8_t> data)
{
    download(data);
    const DfuStatus status = settledStatus();
    if (!status.isIn(DfuState::DownloadIdle))
        failWith(status, m_sent);
}

void DfuDownload::download(std::span<const uint8_t> data)
{
    const std::lock_guard lock(m_requesting);
    try {
        m_pen.download(m_number++, data);
    } catch (const Failure &failure) {
        throw Failure(failure.exitCode(),
                      failure.what() +
                          (failure.exitCode() == ZEL_ERR_COMMUNICATION ? "" : std::string(kDisturbed)));
    }
}

DfuStatus DfuDownload::status()
{
    const std::lock_guard lock(m_requesting);
    return m_pen.status();
}

void DfuDownload::manifest()
{
    download({});
    m_complete = true;
    const DfuStatus status = settledStatus();
    if (status.isIn(DfuState::Manifest) || status.isIn(DfuState::ManifestWaitReset)) {
        pause(status);
        resetPort();
    } else if (!status.isIn(DfuState::Idle)) {
        failWith(status, m_sent);
    }
}

/** The pen has the whole image by now. One that restarts at once may not answer any more. */
void DfuDownload::resetPort()
{
    try {
        m_pen.resetPort();
    } catch (const Failure &failure) {
        if (failure.exitCode() != ZEL_ERR_COMMUNICATION)
            throw;
    }
}

/** Asks until the pen has done what it is at, waiting in between as long as it says: asked too early it would
 * take that for a fault. */
DfuStatus DfuDownload::settledStatus()
{
    for (;;) {
        const DfuStatus status = this->status();
        if (status.failed())
            failWith(status, m_sent);
        if (!isBusy(status))
            return status;
        pause(status);
    }
}

/** A pen that is not tolerant of manifestation cannot be asked after it, only be reset. */
bool DfuDownload::isBusy(const DfuStatus &status) const
{
    return status.isIn(DfuState::DownloadSync) || status.isIn(DfuState::DownloadBusy) ||
           status.isIn(DfuState::ManifestSync) ||
           (status.isIn(DfuState::Manifest) && m_descriptor.manifestationTolerant());
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
    DfuConnection other(m_record);
    giveUpImage(other);
}

} // namespace penctl
