#pragma once

#include <cstdint>
#include <string>

#include <zel/zel.h>

namespace penctl {

/** What an announcement tells of a pen without asking it. */
struct PenIdentity {
    std::string serial;
    uint64_t penId = 0;
    uint16_t vendorId = 0;
    uint16_t productId = 0;
};

PenIdentity identityOf(const DiscoveryHandle &record);

/** "0x0000012300abcdef" */
std::string penIdText(uint64_t penId);

/** "1209:0001" */
std::string usbText(const PenIdentity &pen);

/** Whether a text has the form of a serial, XXX-XXX-XXX-XX, so that it can be told from other arguments. */
bool looksLikeSerial(const std::string &text);

} // namespace penctl
