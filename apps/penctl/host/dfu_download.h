#pragma once

#include <cstdint>
#include <functional>
#include <span>

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
    DfuDownload(DfuConnection &pen, std::span<const uint8_t> image);

    /** Blocks that carry data. */
    uint64_t blocks() const;

    /** Raises Failure with the reason when the pen reports an error; with 130 on Ctrl-C, after the pen has
     * been told to abort. An Interrupt must exist. */
    void run(const DfuProgress &progress);

private:
    void makeIdle();
    void sendBlock(std::span<const uint8_t> data);
    void manifest();
    void resetPort();
    DfuStatus settledStatus();
    bool isBusy(const DfuStatus &status) const;
    void stopIfInterrupted();

    DfuConnection &m_pen;
    std::span<const uint8_t> m_image;
    DfuDescriptor m_descriptor;
    std::size_t m_blockSize;
    uint64_t m_sent = 0;
    uint16_t m_number = 0;
};

} // namespace penctl
