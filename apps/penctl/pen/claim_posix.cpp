#include "pen/claim.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <fmt/format.h>

namespace penctl {

/** A name in the abstract namespace, which needs no file: it belongs to the network namespace, as the pen
 * service's address does, and all users share it. */
PenClaim::PenClaim(uint64_t penId)
{
    const int handle = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (handle < 0)
        return;
    m_handle = handle;
    const std::string name = fmt::format("zel-firmware-upgrade-{:016x}", penId);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, name.data(), name.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    m_taken = bind(handle, reinterpret_cast<const sockaddr *>(&address), length) != 0 && errno == EADDRINUSE;
}

PenClaim::~PenClaim()
{
    if (m_handle)
        close(static_cast<int>(*m_handle));
}

} // namespace penctl
