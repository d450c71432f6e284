#pragma once

#include "pen_description.h"

#include <array>
#include <span>

namespace pensim {

enum class DfuState : std::uint8_t {
    appIdle = 0,
    appDetach = 1,
    idle = 2,
    downloadSync = 3,
    downloadBusy = 4,
    downloadIdle = 5,
    manifestSync = 6,
    manifest = 7,
    manifestWaitReset = 8,
    uploadIdle = 9, // never entered, because a pen's firmware cannot be read
    error = 10,
};

enum class DfuStatus : std::uint8_t {
    ok = 0x00,
    write = 0x03,
    address = 0x08,
    notDone = 0x09,
    firmware = 0x0a,
    stalledPacket = 0x0f,
};

/** The largest firmware that a pen accepts. */
inline constexpr std::size_t kLargestImage = 64 << 20;

/** The state machine of the USB device class for firmware upgrades (version 1.1), without upload. A request
 *  that the state does not allow stalls: the operation answers false or nothing, and the machine is in its
 *  error state (in application mode: back in appIdle). Time is an argument, so that tests need not wait. */
class DfuMachine
{
public:
    using Time = std::chrono::steady_clock::time_point;

    DfuMachine(DfuSpec spec, bool dfuMode);

    bool dfuMode() const { return m_state >= DfuState::idle; }
    DfuState state() const { return m_state; }

    bool detach(Time now);
    /** The block as hosts send it: block number and length n, 16 bits little-endian each, then n bytes. */
    bool download(std::span<const std::uint8_t> block, Time now);
    /** bStatus, bwPollTimeout in milliseconds (3 bytes, little-endian), bState, iString. */
    std::optional<std::array<std::uint8_t, 6>> getStatus(Time now);
    std::optional<DfuState> getState(Time now);
    bool clearStatus(Time now);
    bool abort(Time now);
    /** bmAttributes, wDetachTimeOut, wTransferSize, bcdDFUVersion, little-endian. */
    std::array<std::uint8_t, 7> functionalDescriptor() const;

    /** A reset of the port: a detached pen comes back in firmware-upgrade mode, one in that mode as an
     *  application if its firmware is whole. */
    void reset(Time now);
    /** Straight into firmware-upgrade mode. */
    void boot();

    const Bytes &image() const { return m_image; }
    bool installed() const { return m_installed; }

private:
    void advance(Time now);
    void fail(DfuStatus status);
    void install();
    bool stall();
    void leave();
    bool isOneOf(std::initializer_list<DfuState> states) const;
    bool takeBlock(std::uint16_t number, std::span<const std::uint8_t> data);
    void beginDownload(std::uint16_t number);
    std::chrono::milliseconds enterStateOfStatus(Time now);

    DfuSpec m_spec;
    DfuState m_state;
    DfuStatus m_status = DfuStatus::ok;
    Time m_until{}; // when the present busy or detached state ends
    bool m_blockWritten = false;
    std::uint16_t m_nextBlock = 0;
    std::size_t m_blocks = 0;
    Bytes m_image;
    bool m_installed = false;
    bool m_firmwareWhole = true;
};

} // namespace pensim
