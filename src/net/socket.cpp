#include "net/socket.h"

#include "sys/log.h"

#include <array>
#include <cstring>

namespace zel::net {

std::string dottedAddress(std::uint32_t networkOrderAddress)
{
    std::array<unsigned char, 4> bytes;
    std::memcpy(bytes.data(), &networkOrderAddress, bytes.size());
    return FormatLogText("%d.%d.%d.%d", bytes[0], bytes[1], bytes[2], bytes[3]);
}

} // namespace zel::net
