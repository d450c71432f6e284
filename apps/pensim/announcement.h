#pragma once

#include "rendezvous.h"

#include <vector>

namespace pensim {

// What the rendezvous server tells of a docked pen.
struct Announcement {
    std::uint64_t penId = 0;
    std::string brand;
    std::uint64_t softwareVersion = 0;
    std::vector<std::string> protocols;
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
    std::uint16_t port = 0;
    bool dfuMode = false;

    // Pens in firmware-upgrade mode are announced to their own subscribers, all others to ordinary ones.
    Subscription audience() const { return dfuMode ? Subscription::dfu : Subscription::ordinary; }
};

// The message, its NUL included. The command word is "CONNECT" or "DISCONNECT"; a list answer needs none.
std::string penMessage(const Announcement &pen, std::string_view command);
// What ends a list.
std::string endOfListMessage(Subscription subscription);

} // namespace pensim
