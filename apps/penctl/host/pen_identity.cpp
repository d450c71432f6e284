#include "host/pen_identity.h"

#include <cctype>

#include <fmt/format.h>

#include "host/host_memory.h"
#include "host/result.h"

namespace penctl {

PenIdentity identityOf(const DiscoveryHandle &record)
{
    PenIdentity pen;
    pen.penId = record.penId;
    LibraryText serial;
    check(zelGetDevicePenSerial(&record, serial.out()), "cannot read a pen's serial");
    pen.serial = serial.str();
    // For older pens the call says "not supported" and gives the numbers all the same.
    zelGetDeviceVidAndPid(&record, &pen.vendorId, &pen.productId);
    return pen;
}

std::string penIdText(uint64_t penId)
{
    return fmt::format("0x{:016x}", penId);
}

std::string usbText(const PenIdentity &pen)
{
    return fmt::format("{:04x}:{:04x}", pen.vendorId, pen.productId);
}

bool looksLikeSerial(const std::string &text)
{
    static const std::string kForm = "XXX-XXX-XXX-XX";
    if (text.size() != kForm.size())
        return text == "INVALID-PEN-ID";
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool dash = kForm[i] == '-';
        if (dash ? text[i] != '-' : !std::isalnum(static_cast<unsigned char>(text[i])))
            return text == "INVALID-PEN-ID";
    }
    return true;
}

} // namespace penctl
