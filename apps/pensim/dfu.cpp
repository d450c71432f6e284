#include "dfu.h"

#include <algorithm>
#include <fstream>

namespace pensim {

namespace {

using std::chrono::milliseconds;

constexpr std::uint8_t kCanDownload = 0x01;
constexpr std::uint8_t kManifestationTolerant = 0x04;
constexpr std::uint16_t kDfuVersion = 0x0110;

std::uint16_t littleEndian16(std::span<const std::uint8_t> bytes)
{
    return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

std::uint8_t byteOf(std::uint32_t number, int index)
{
    return static_cast<std::uint8_t>(number >> 8 * index);
}

bool writeFile(const std::filesystem::path &path, const Bytes &bytes)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(file.flush());
}

} // namespace

DfuMachine::DfuMachine(DfuSpec spec, bool dfuMode)
    : m_spec(std::move(spec)), m_state(dfuMode ? DfuState::idle : DfuState::appIdle)
{
}

bool DfuMachine::isOneOf(std::initializer_list<DfuState> states) const
{
    return std::find(states.begin(), states.end(), m_state) != states.end();
}

void DfuMachine::advance(Time now)
{
    if (now < m_until)
        return;
    if (m_state == DfuState::appDetach)
        m_state = DfuState::appIdle;
    else if (m_state == DfuState::downloadBusy)
        m_state = DfuState::downloadSync;
    else if (m_state == DfuState::manifest)
        install();
}

void DfuMachine::install()
{
    if (!m_spec.imageFile.empty() && !writeFile(m_spec.imageFile, m_image)) {
        fail(DfuStatus::write);
        return;
    }
    m_installed = true;
    m_firmwareWhole = true;
    m_state = m_spec.manifestationTolerant ? DfuState::manifestSync : DfuState::manifestWaitReset;
}

void DfuMachine::fail(DfuStatus status)
{
    m_status = status;
    m_state = DfuState::error;
}

bool DfuMachine::stall()
{
    if (m_state == DfuState::appDetach)
        m_state = DfuState::appIdle;
    else if (dfuMode() && !isOneOf({DfuState::error, DfuState::manifestWaitReset}))
        fail(DfuStatus::stalledPacket);
    return false;
}

bool DfuMachine::detach(Time now)
{
    advance(now);
    if (m_state != DfuState::appIdle)
        return stall();
    m_state = DfuState::appDetach;
    m_until = now + milliseconds(m_spec.detachTimeout);
    return true;
}

bool DfuMachine::download(std::span<const std::uint8_t> block, Time now)
{
    advance(now);
    constexpr std::size_t header = 4;
    if (block.size() < header || littleEndian16(block.subspan(2)) != block.size() - header)
        return stall();
    const auto data = block.subspan(header);
    if (!isOneOf({DfuState::idle, DfuState::downloadIdle}) || data.size() > m_spec.transferSize)
        return stall();
    if (data.empty() && m_state == DfuState::idle)
        return stall();
    if (data.empty()) {
        m_state = DfuState::manifestSync;
        return true;
    }
    return takeBlock(littleEndian16(block), data);
}

bool DfuMachine::takeBlock(std::uint16_t number, std::span<const std::uint8_t> data)
{
    if (m_state == DfuState::idle)
        beginDownload(number);
    if (number != m_nextBlock || m_image.size() + data.size() > kLargestImage) {
        fail(DfuStatus::address);
        return false;
    }
    ++m_nextBlock;
    m_image.insert(m_image.end(), data.begin(), data.end());
    m_blockWritten = false;
    m_state = DfuState::downloadSync;
    return true;
}

// Hosts may number their first block as they like; from there on each number follows the last.
void DfuMachine::beginDownload(std::uint16_t number)
{
    m_nextBlock = number;
    m_blocks = 0;
    m_image.clear();
    m_installed = false;
    m_firmwareWhole = false;
}

// A status request moves the machine on: it starts the work at hand or finds it done. Answers how long the
// new state lasts.
milliseconds DfuMachine::enterStateOfStatus(Time now)
{
    if (m_state == DfuState::downloadSync && m_spec.failAtBlock == m_blocks && !m_blockWritten) {
        fail(DfuStatus::write);
    } else if (m_state == DfuState::downloadSync && (m_blockWritten || m_spec.blockTime == milliseconds(0))) {
        ++m_blocks;
        m_state = DfuState::downloadIdle;
    } else if (m_state == DfuState::downloadSync) {
        m_blockWritten = true;
        m_state = DfuState::downloadBusy;
        m_until = now + m_spec.blockTime;
        return m_spec.blockTime;
    } else if (m_state == DfuState::manifestSync && m_installed) {
        m_state = DfuState::idle;
    } else if (m_state == DfuState::manifestSync) {
        m_state = DfuState::manifest;
        m_until = now + m_spec.manifestTime;
        return m_spec.manifestTime;
    }
    return milliseconds(0);
}

std::optional<std::array<std::uint8_t, 6>> DfuMachine::getStatus(Time now)
{
    advance(now);
    if (isOneOf({DfuState::downloadBusy, DfuState::manifest, DfuState::manifestWaitReset})) {
        stall();
        return std::nullopt;
    }
    const auto poll = static_cast<std::uint32_t>(enterStateOfStatus(now).count());
    return std::array<std::uint8_t, 6>{static_cast<std::uint8_t>(m_status),
                                       byteOf(poll, 0),
                                       byteOf(poll, 1),
                                       byteOf(poll, 2),
                                       static_cast<std::uint8_t>(m_state),
                                       0};
}

std::optional<DfuState> DfuMachine::getState(Time now)
{
    advance(now);
    if (isOneOf({DfuState::downloadBusy, DfuState::manifest, DfuState::manifestWaitReset})) {
        stall();
        return std::nullopt;
    }
    return m_state;
}

bool DfuMachine::clearStatus(Time now)
{
    advance(now);
    if (m_state != DfuState::error)
        return stall();
    m_status = DfuStatus::ok;
    m_state = DfuState::idle;
    return true;
}

bool DfuMachine::abort(Time now)
{
    advance(now);
    if (!isOneOf({DfuState::idle, DfuState::downloadSync, DfuState::downloadIdle, DfuState::manifestSync}))
        return stall();
    m_state = DfuState::idle;
    return true;
}

std::array<std::uint8_t, 7> DfuMachine::functionalDescriptor() const
{
    const int attributes = kCanDownload | (m_spec.manifestationTolerant ? kManifestationTolerant : 0);
    return {static_cast<std::uint8_t>(attributes),
            byteOf(m_spec.detachTimeout, 0),
            byteOf(m_spec.detachTimeout, 1),
            byteOf(m_spec.transferSize, 0),
            byteOf(m_spec.transferSize, 1),
            byteOf(kDfuVersion, 0),
            byteOf(kDfuVersion, 1)};
}

void DfuMachine::reset(Time now)
{
    advance(now);
    if (m_state == DfuState::appDetach)
        boot();
    else if (dfuMode() && m_firmwareWhole)
        leave();
    else if (dfuMode())
        fail(DfuStatus::firmware);
}

void DfuMachine::leave()
{
    m_status = DfuStatus::ok;
    m_state = DfuState::appIdle;
}

void DfuMachine::boot()
{
    m_status = DfuStatus::ok;
    m_state = DfuState::idle;
}

} // namespace pensim
