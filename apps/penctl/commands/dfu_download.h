#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

#include <zel/firmware.hpp>

#include "pen/claim.h"
#include "pen/pens.h"

namespace penctl {

zelpp::DfuLibrary startDfuLibrary();

/** A pen chosen in firmware-upgrade mode, with the claim on it. Raises Failure (75) while another penctl has
 * it. */
struct DfuSession {
    explicit DfuSession(const PenChoice &choice);

    zelpp::DfuLibrary library;
    zelpp::PenInfo info;
    PenClaim claim;
    zelpp::DfuPen pen;
};

/** bytes so far, blocks so far */
using DfuProgress = std::function<void(uint64_t, uint64_t)>;

/** Sends an image to a pen, block by block, as the DFU class has it: after each block the status is asked
 * for, as often and as late as the pen's poll timeout says, until the pen is ready for the next; an empty
 * block ends the image. */
class DfuDownload
{
public:
    DfuDownload(DfuSession &session, zelpp::Bytes image);

    /** Blocks that carry data. */
    uint64_t blocks() const;

    /** Raises Failure with the reason when the pen reports an error. Interrupted, the pen is told to give up
     * the image. */
    void run(const DfuProgress &progress);

private:
    void makeIdle();
    void sendBlock(zelpp::Bytes data);
    void download(zelpp::Bytes data);
    zelpp::DfuStatus status();
    void manifest();
    void resetPort();
    zelpp::DfuStatus settledStatus();
    bool isBusy(const zelpp::DfuStatus &status) const;
    std::string giveUp();
    void abort();

    zelpp::DfuLibrary &m_library;
    zelpp::DfuPen &m_pen;
    zelpp::Bytes m_image;
    zelpp::DfuDescriptor m_descriptor;
    std::size_t m_blockSize;
    std::atomic<uint64_t> m_sent = 0;
    uint16_t m_number = 0;
    std::atomic<bool> m_complete = false;
    /** Held during each request, and for good once the image is given up. */
    std::timed_mutex m_requesting;
};

} // namespace penctl
