#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <span>
#include <string>

#include "host/dfu_session.h"

namespace penctl {

/** bytes so far, blocks so far */
using DfuProgress = std::function<void(uint64_t, uint64_t)>;

/** Sends an image to a pen, block by block, as the DFU class has it: after each block the status is asked
 * for, as often and as late as the pen's poll timeout says, until the pen is ready for the next; an empty
 * block ends the image. */
class DfuDownload
{
public:
    DfuDownload(DfuSession &session, std::span<const uint8_t> image);

    /** Blocks that carry data. */
    uint64_t blocks() const;

    /** Raises Failure with the reason when the pen reports an error. Interrupted, the pen is told to give up
     * the image. */
    void run(const DfuProgress &progress);

private:
    void makeIdle();
    void sendBlock(std::span<const uint8_t> data);
    void download(std::span<const uint8_t> data);
    DfuStatus status();
    void manifest();
    void resetPort();
    DfuStatus settledStatus();
    bool isBusy(const DfuStatus &status) const;
    std::string giveUp();
    void abort();

    const DiscoveryHandle &m_record;
    DfuConnection &m_pen;
    std::span<const uint8_t> m_image;
    DfuDescriptor m_descriptor;
    std::size_t m_blockSize;
    std::atomic<uint64_t> m_sent = 0;
    uint16_t m_number = 0;
    std::atomic<bool> m_complete = false;
    /** Held during each request, and for good once the image is given up. */
    std::timed_mutex m_requesting;
};

} // namespace penctl
