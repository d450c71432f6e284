#include "host/dfu_download.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include <fmt/format.h>
#include <zel/zel.h>

#include "exit_code.h"
#include "failure.h"
#include "ui/interrupt.h"
#include "ui/units.h"

namespace penctl {

namespace {

/** For a pen that names no size. */
constexpr std::size_t kUsualBlock = 1024;

std::size_t blockSize(const DfuDescriptor &descriptor)
{
    if (!descriptor.canDownload())
        throw Failure(ZEL_ERR_NOT_SUPPORTED, "the pen takes no images (4)");
    return descriptor.transferSize == 0 ? kUsualBlock : descriptor.transferSize;
}

[[noreturn]] void failWith(const DfuStatus &status, uint64_t sent)
{
    throw Failure(ZEL_ERR_UNEXPECTED,
                  fmt::format("the pen stopped after {}: {} (status {}, {}) (11)",
                              counted(sent, "byte", "bytes"), dfuStatusWords(status.status), status.status,
                              dfuStateName(status.state)));
}

/** A pen that asks for no pause must not be asked again without one. */
void pause(const DfuStatus &status)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(std::max(status.pollTimeoutMillis, 1u)));
}

} // namespace

DfuDownload::DfuDownload(DfuConnection &pen, std::span<const uint8_t> image)
    : m_pen(pen), m_image(image), m_descriptor(pen.descriptor()), m_blockSize(blockSize(m_descriptor))
{
}

uint64_t DfuDownload::blocks() const
{
    return (m_image.size() + m_blockSize - 1) / m_blockSize;
}

void DfuDownload::run(const DfuProgress &progress)
{
    makeIdle();
    progress(0, 0);
    for (uint64_t block = 1; m_sent < m_image.size(); ++block) {
        stopIfInterrupted();
        const std::size_t size = std::min<std::size_t>(m_blockSize, m_image.size() - m_sent);
        sendBlock(m_image.subspan(m_sent, size));
        m_sent += size;
        progress(m_sent, block);
    }
    stopIfInterrupted();
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
    m_pen.download(m_number++, data);
    const DfuStatus status = settledStatus();
    if (!status.isIn(DfuState::DownloadIdle))
        failWith(status, m_sent);
}

void DfuDownload::manifest()
{
    m_pen.download(m_number, {});
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
        const DfuStatus status = m_pen.status();
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

/** Between two blocks: there the pen can be told to give up the image. */
void DfuDownload::stopIfInterrupted()
{
    if (!Interrupt::requested())
        return;
    std::string told = "; the pen was told to give up the image";
    try {
        m_pen.abort();
    } catch (const Failure &failure) {
        told = fmt::format("; {}", failure.what());
    }
    throw Failure(kInterrupted, fmt::format("interrupted after {} of {}{}", grouped(m_sent),
                                            counted(m_image.size(), "byte", "bytes"), told));
}

} // namespace penctl
