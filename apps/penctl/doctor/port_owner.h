#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace penctl {

struct PortOwner {
    uint64_t process = 0;
    std::string program; // its file's name
};

/** The process that listens at a port of the loopback interface; nothing where the system does not tell, for
 *  instance because it belongs to another user. */
std::optional<PortOwner> ownerOfPort(uint16_t port);

} // namespace penctl
