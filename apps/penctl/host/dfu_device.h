#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace penctl {

/** The records of the USB Device Firmware Upgrade class, little-endian as on the USB. */

enum class DfuState : uint8_t {
    AppIdle = 0,
    AppDetach = 1,
    Idle = 2,
    DownloadSync = 3,
    DownloadBusy = 4,
    DownloadIdle = 5,
    ManifestSync = 6,
    Manifest = 7,
    ManifestWaitReset = 8,
    UploadIdle = 9,
    Error = 10,
};

struct DfuStatus {
    uint8_t status = 0;
    uint32_t pollTimeoutMillis = 0;
    uint8_t state = 0;
    uint8_t stringIndex = 0;

    bool isIn(DfuState wanted) const { return state == static_cast<uint8_t>(wanted); }
    bool failed() const { return status != 0 || isIn(DfuState::Error); }
};

struct DfuDescriptor {
    uint8_t attributes = 0;
    uint16_t detachTimeoutMillis = 0;
    uint16_t transferSize = 0;

    bool canDownload() const { return (attributes & 0x01) != 0; }
    bool canUpload() const { return (attributes & 0x02) != 0; }
    bool manifestationTolerant() const { return (attributes & 0x04) != 0; }
};

using DfuStatusRecord = std::array<uint8_t, 6>;
using DfuDescriptorRecord = std::array<uint8_t, 7>;

DfuStatus parseDfuStatus(const DfuStatusRecord &record);
DfuDescriptor parseDfuDescriptor(const DfuDescriptorRecord &record);

/** A block as zelDfuDownload takes it: number, length, data; the two numbers as this machine keeps them. */
std::vector<uint8_t> makeDfuBlock(uint16_t number, std::span<const uint8_t> data);

/** "dfuDNLOAD-IDLE", or "unknown state 99" */
std::string dfuStateName(uint8_t state);

/** What went wrong, in words: "the image is not meant for this device". */
std::string dfuStatusWords(uint8_t status);

} // namespace penctl
