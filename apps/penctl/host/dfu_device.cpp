#include "host/dfu_device.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

namespace penctl {

namespace {

constexpr uint8_t kFunctionalDescriptor = 0x21;

constexpr std::array kStates = {
    "appIDLE",        "appDETACH",        "dfuIDLE",     "dfuDNLOAD-SYNC",         "dfuDNBUSY",
    "dfuDNLOAD-IDLE", "dfuMANIFEST-SYNC", "dfuMANIFEST", "dfuMANIFEST-WAIT-RESET", "dfuUPLOAD-IDLE",
    "dfuERROR",
};

constexpr std::array kStatuses = {
    "no error",
    "the image is not meant for this device",
    "the image failed a check of its origin or content",
    "the memory cannot be written",
    "the memory cannot be erased",
    "the memory is not empty after it was erased",
    "the memory cannot be programmed",
    "what was programmed reads back differently",
    "an address is out of range",
    "the image ended too early",
    "the firmware is damaged; the device cannot leave this mode",
    "a fault of the maker's own kind",
    "an unexpected USB reset",
    "an unexpected power-on reset",
    "something unknown went wrong",
    "an unexpected request",
};

uint16_t littleEndian16(uint8_t low, uint8_t high)
{
    return static_cast<uint16_t>(low | high << 8);
}

} // namespace

DfuStatus parseDfuStatus(const DfuStatusRecord &record)
{
    DfuStatus status;
    status.status = record[0];
    status.pollTimeoutMillis = littleEndian16(record[1], record[2]) | static_cast<uint32_t>(record[3]) << 16;
    status.state = record[4];
    status.stringIndex = record[5];
    return status;
}

DfuDescriptor parseDfuDescriptor(const DfuDescriptorRecord &record)
{
    // With length and type in front it ends before the version, without them it has it at its end.
    const bool headed = record[0] == record.size() && record[1] == kFunctionalDescriptor;
    const std::size_t at = headed ? 2 : 0;
    DfuDescriptor descriptor;
    descriptor.attributes = record.at(at);
    descriptor.detachTimeoutMillis = littleEndian16(record.at(at + 1), record.at(at + 2));
    descriptor.transferSize = littleEndian16(record.at(at + 3), record.at(at + 4));
    return descriptor;
}

std::vector<uint8_t> makeDfuBlock(uint16_t number, std::span<const uint8_t> data)
{
    const auto length = static_cast<uint16_t>(data.size());
    std::vector<uint8_t> block(4 + data.size());
    std::memcpy(block.data(), &number, 2);
    std::memcpy(block.data() + 2, &length, 2);
    std::copy(data.begin(), data.end(), block.begin() + 4);
    return block;
}

std::string dfuStateName(uint8_t state)
{
    return state < kStates.size() ? kStates[state] : fmt::format("unknown state {}", state);
}

std::string dfuStatusWords(uint8_t status)
{
    return status < kStatuses.size() ? kStatuses[status] : fmt::format("unknown fault {}", status);
}

} // namespace penctl
